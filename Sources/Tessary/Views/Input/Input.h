#pragma once

// Adding tickers, related suggestions and the quick jump.
#include "BenchmarkField.h"
#include "InputCommands.h"
#include "JumpScore.h"
#include "QuickJump.h"
#include "RelatedTickersBar.h"
#include "TickerEntry.h"
#include "TickerInput.h"
