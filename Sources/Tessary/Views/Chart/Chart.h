#pragma once

// The comparison chart: the compressed time axis, the plot mapping, the shared highlight
// state and the chart widget.
#include "ChartFocus.h"
#include "ChartMapper.h"
#include "ChartScale.h"
#include "ChartView.h"
#include "TimeAxis.h"
