#pragma once

// The comparison model: periods, lists, the curated catalog, market time, formats, colours.
#include "ListPeriod.h"
#include "MarketTime.h"
#include "MultiPeriods.h"
#include "Scenario.h"
#include "Timeframe.h"
