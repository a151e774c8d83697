#pragma once

// The comparison model: periods, lists, the curated catalog, market time, formats, colours.
#include "ComparisonList.h"
#include "DateLabel.h"
#include "FeaturedCatalog.h"
#include "Format.h"
#include "ListPeriod.h"
#include "MultiPeriods.h"
#include "Palette.h"
#include "Scenario.h"
#include "TessaryWire/MarketTime.h"
#include "TessaryWire/Timeframe.h"
