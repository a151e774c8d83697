#pragma once

// The market-data service: its wire records, their decoders and the HTTP client.
#include "APIClient.h"
#include "APIError.h"
#include "Cancellation.h"
#include "FastWireDecoding.h"
#include "MarketDataError.h"
#include "TessaryWire/Freshness.h"
#include "TessaryWire/WireRecords.h"
#include "TickerInfos.h"
#include "WireDecoding.h"
