#pragma once

// The server's data layer: the SQLite store, the importers, the trading calendar, the demo
// market, the curated catalog and related-ticker suggestions.

#include "TessaryServer/Data/CuratedCatalog.h"
#include "TessaryServer/Data/DataError.h"
#include "TessaryServer/Data/DemoMarket.h"
#include "TessaryServer/Data/DemoMarketKeeper.h"
#include "TessaryServer/Data/Import.h"
#include "TessaryServer/Data/MarketDatabase.h"
#include "TessaryServer/Data/RelatedTickers.h"
#include "TessaryServer/Data/SqliteMarketDatabase.h"
#include "TessaryServer/Data/TradingCalendar.h"
