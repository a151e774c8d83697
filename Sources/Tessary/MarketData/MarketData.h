#pragma once

// The market-data service: its wire records, their decoders and the HTTP client.
#include "APIClient.h"
#include "APIError.h"
#include "Cancellation.h"
#include "FastWireDecoding.h"
#include "Freshness.h"
#include "MarketDataError.h"
#include "TickerUniverse.h"
#include "WireDecoding.h"
#include "WireRecords.h"
