// The pieces of the stand-in host, as the registry sees them: each one clears its
// own state on reset and adds what it holds to the ledger.
#pragma once

#include <string>

#include "host/host.h"

namespace standin {

void resetPictures();
void resetGraphics();
void resetStrings();
void resetClasses();
void resetQuickDraw();
void resetResolverAsks();

// Each adds its counts and one detail line per outstanding item.
void ledgerPictures(Ledger& ledger);   // description locks
void ledgerStrings(Ledger& ledger);    // undisposed string data
void ledgerQuickDraw(Ledger& ledger);  // pixel locks, current port

}  // namespace standin
