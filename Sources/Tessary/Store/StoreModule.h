#pragma once

// The application store: lists, selection, persistence, the universe and loading.
#include "AtomicFile.h"
#include "Preferences.h"
#include "SidebarItem.h"
#include "Store.h"
#include "TickerUniverse.h"
