#!/usr/bin/env python3
"""Recomputes window, sampling and metric values from the daily CSV files with nothing but
the standard library, written from the rules rather than from the C++ engine, and writes them
to engine_expected.json for tst_EngineValues to compare against.

Usage: expected_engine_values.py [DATA_DIR]   (default: ../shared/data beside the repository)
"""

import calendar
import csv
import datetime as dt
import json
import math
import os
import statistics
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
PRESETS = ["1D", "2D", "3D", "1W", "15D", "1M", "2M", "3M", "6M", "9M", "YTD", "1Y",
           "2Y", "3Y", "4Y", "5Y", "7Y", "10Y", "15Y", "20Y", "25Y", "30Y", "35Y", "40Y"]

CASES = [
    # id, tickers, query
    ("AAPL 40Y late start, weekly bars, monthly volatility", ["AAPL"], {"preset": "40Y"}),
    ("AAPL across the 2000 split", ["AAPL"], {"start": "2000-01-01", "end": "2000-12-31"}),
    ("AAPL 5Y daily bars, weekly volatility", ["AAPL"], {"preset": "5Y"}),
    ("AAPL YTD", ["AAPL"], {"preset": "YTD"}),
    ("AAPL 1W", ["AAPL"], {"preset": "1W"}),
    ("AAPL 15D", ["AAPL"], {"preset": "15D"}),
    ("AAPL 3D without intraday bars", ["AAPL"], {"preset": "3D", "intraday": "false"}),
    ("ABBV 10Y late listing", ["ABBV"], {"preset": "10Y"}),
    ("CARR 3Y late listing", ["CARR"], {"preset": "3Y"}),
    ("CARR 1Y exactly one year", ["CARR"], {"preset": "1Y"}),
    ("COVID crash", ["AAPL", "MSFT", "CARR", "CCL"], {"start": "2020-02-19", "end": "2020-03-23"}),
    ("Financial crisis", ["JPM", "BAC", "XOM", "WMT"], {"start": "2007-10-09", "end": "2009-03-09"}),
    ("Dot-com bust, weekly volatility", ["CSCO", "INTC", "BRK.B"], {"start": "2000-03-10", "end": "2002-10-09"}),
    ("25Y preset", ["MSFT", "KO", "FB"], {"preset": "25Y"}),
    ("Range past the data", ["NVDA", "TSLA"], {"start": "2021-01-01", "end": "2026-01-01"}),
    ("Range before a listing", ["CARR", "DOW"], {"start": "2019-01-01", "end": "2019-03-01"}),
    ("731 days, still daily volatility", ["MSFT", "HD"], {"start": "2019-04-16", "end": "2021-04-16"}),
    ("732 days, weekly volatility", ["MSFT", "HD"], {"start": "2019-04-15", "end": "2021-04-16"}),
    ("7Y with a 2012 listing", ["FB", "PYPL"], {"preset": "7Y"}),
]

PRESET_RETURN_TICKERS = ["AAPL", "CARR", "ABBV", "FB"]


def load(directory, symbol):
    bars = []
    with open(os.path.join(directory, symbol + ".csv"), newline="") as f:
        for row in csv.DictReader(f):
            bars.append((dt.date.fromisoformat(row["date"]), float(row["close"]), float(row["adjusted_close"])))
    return bars


def shift_months(day, months):
    total = day.year * 12 + (day.month - 1) + months
    year, month = divmod(total, 12)
    month += 1
    return dt.date(year, month, min(day.day, calendar.monthrange(year, month)[1]))


def anchor(preset, end):
    if preset == "1W":
        return end - dt.timedelta(days=7)
    if preset == "15D":
        return end - dt.timedelta(days=15)
    if preset == "YTD":
        return dt.date(end.year - 1, 12, 31)
    if preset.endswith("M"):
        return shift_months(end, -int(preset[:-1]))
    if preset.endswith("Y"):
        return shift_months(end, -12 * int(preset[:-1]))
    raise ValueError(preset)


def sessions(preset):
    return {"1D": 1, "2D": 2, "3D": 3}.get(preset, 0)


def indexes_on_or_before(bars, day):
    return [i for i, bar in enumerate(bars) if bar[0] <= day]


def preset_base(bars, preset, end):
    """Index of the preset's base bar, or None when the history starts after it."""
    upto = indexes_on_or_before(bars, end)
    if not upto:
        return None
    last = upto[-1]
    n = sessions(preset)
    if n:
        if last < n or (end - bars[last][0]).days >= 7:
            return None
        return last - n
    before = indexes_on_or_before(bars, anchor(preset, end))
    if not before or before[-1] == last:
        return None
    return before[-1]


def window_bars(bars, query, end):
    """(base, last) indexes, or None when the symbol has no bars in the window."""
    if "start" in query:
        start = dt.date.fromisoformat(query["start"])
        stop = dt.date.fromisoformat(query["end"])
        inside = [i for i, bar in enumerate(bars) if start <= bar[0] <= stop]
        return (inside[0], inside[-1]) if inside else None
    preset = query["preset"]
    upto = indexes_on_or_before(bars, end)
    if not upto:
        return None
    last = upto[-1]
    n = sessions(preset)
    if n:
        return (max(last - n, 0), last)
    before = indexes_on_or_before(bars, anchor(preset, end))
    if not before:
        return (0, last)
    return None if before[-1] == last else (before[-1], last)


def nominal_span(query, end):
    if "start" in query:
        return (dt.date.fromisoformat(query["end"]) - dt.date.fromisoformat(query["start"])).days
    if sessions(query["preset"]):
        return sessions(query["preset"])
    return (end - anchor(query["preset"], end)).days


def period_key(day, frequency):
    if frequency == "weekly":
        iso = day.isocalendar()
        return (iso[0], iso[1])
    if frequency == "monthly":
        return (day.year, day.month)
    return day


def sample(window, frequency):
    """The first bar, then the last bar of every period after it (the final bar included)."""
    if frequency == "daily":
        return list(window)
    last_of = {}
    for bar in window[1:]:
        last_of[period_key(bar[0], frequency)] = bar
    return [window[0]] + [last_of[key] for key in sorted(last_of)]


def ms(day):
    return int((day - dt.date(1970, 1, 1)).total_seconds()) * 1000


def ticker_values(bars, base, last, end):
    window = bars[base:last + 1]
    span = (window[-1][0] - window[0][0]).days
    first_adj, last_adj = window[0][2], window[-1][2]
    values = {
        "start_date": window[0][0].isoformat(),
        "end_value": window[-1][1],
        "net_return": last_adj / first_adj - 1,
        "cagr": (last_adj / first_adj) ** (365.25 / span) - 1 if span >= 365 else None,
    }
    frequency, per_year = ("daily", 252) if span <= 731 else ("weekly", 52) if span <= 3653 else ("monthly", 12)
    closes = [bar[2] for bar in sample(window, frequency)]
    returns = [b / a - 1 for a, b in zip(closes, closes[1:])]
    volatility = statistics.stdev(returns) * math.sqrt(per_year) if len(returns) >= 2 else None
    values["volatility"] = volatility
    values["sharpe_ratio"] = (statistics.mean(returns) * per_year / volatility) if volatility else None
    peak, deepest = -math.inf, 0.0
    for bar in window:
        peak = max(peak, bar[2])
        deepest = min(deepest, bar[2] / peak - 1)
    values["period_max_drawdown"] = deepest
    return values


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else os.path.join(HERE, "..", "..", "..", "shared", "data")
    daily = os.path.join(directory, "daily")
    symbols = sorted(name[:-4] for name in os.listdir(daily) if name.endswith(".csv"))
    histories = {symbol: load(daily, symbol) for symbol in symbols}
    end = max(bars[-1][0] for bars in histories.values())

    cases = []
    for name, tickers, query in CASES:
        span = nominal_span(query, end)
        interval = "1D" if span <= 1827 else "1W"
        expected = []
        for symbol in tickers:
            bars = histories[symbol]
            window = window_bars(bars, query, dt.date.fromisoformat(query["end"]) if "start" in query else end)
            entry = {"ticker": symbol}
            if window:
                base, last = window
                entry.update(ticker_values(bars, base, last, end))
                points = sample(bars[base:last + 1], "weekly" if interval == "1W" else "daily")
                entry["points"] = len(points)
                entry["first_time"] = ms(points[0][0])
                entry["last_time"] = ms(points[-1][0])
                entry["last_performance"] = points[-1][2] / points[0][2] - 1
            expected.append(entry)
        cases.append({"name": name, "query": query, "interval": interval, "tickers": expected})

    preset_returns = {}
    for symbol in PRESET_RETURN_TICKERS:
        bars = histories[symbol]
        last = indexes_on_or_before(bars, end)[-1]
        returns = {}
        for preset in PRESETS:
            base = preset_base(bars, preset, end)
            returns[preset] = None if base is None else bars[last][2] / bars[base][2] - 1
        preset_returns[symbol] = returns

    document = {
        "generated_by": "Tests/Server/expected_engine_values.py",
        "market_end": end.isoformat(),
        "cases": cases,
        "preset_returns": preset_returns,
    }
    with open(os.path.join(HERE, "engine_expected.json"), "w") as f:
        json.dump(document, f, indent=1)
        f.write("\n")


if __name__ == "__main__":
    main()
