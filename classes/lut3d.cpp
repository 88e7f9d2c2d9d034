// Placeholder until the lookup-table class is written.
#include "plugin/registration.h"

REALclassDefinition Lut3DClass = {9, "PictureLut3DVQZ", nullptr, 139992, 0, nullptr, nullptr, nullptr, 0, nullptr, 0,
                                  {0, 0, 0, 0, 0, 0, 0, 0, 0}, 4, nullptr, 0, nullptr, 0};
