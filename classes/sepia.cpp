// Placeholder until the sepia class is written.
#include "plugin/registration.h"

REALclassDefinition PictureSepiaClass = {9, "PictureSepiaVQZ", nullptr, 64, 0, nullptr, nullptr, nullptr, 0, nullptr, 0,
                                         {0, 0, 0, 0, 0, 0, 0, 0, 0}, 0, nullptr, 0, nullptr, 0};
