// The QuickDraw bridge: the functions that hold a desktop picture's pixels, loaded
// by name from the ApplicationServices library at run time, so that the plugin
// loads and runs (with every picture failing to open) where they are absent.
#pragma once

#include "plugin/abi.h"

// Loads "<frameworks folder>/<name>/<name without .framework>" and returns its handle.
// The folder is $VQZ_FRAMEWORKS_DIR, or the one fixed at build time.
void* LoadFrameworkBundle(const char* name);

#define QUICKDRAW(function, result, missing, params, args) result function params;
#include "picture/quickdraw_functions.def"
#undef QUICKDRAW

void SetRect(Rect* r, int16_t left, int16_t top, int16_t right, int16_t bottom);
