#!/usr/bin/env python3
"""Date texts against Python's datetime and zoneinfo (the system tzdata), decimal
arithmetic against Python's integers. The probe runs once per zone under that TZ.
Usage: check_against_python.py PROBE [--sweep]   (--sweep: ~70x more cases)"""
import os
import random
import subprocess
import sys
from datetime import datetime, timedelta, timezone
from zoneinfo import ZoneInfo

ZONES = ["UTC", "Asia/Shanghai", "America/New_York", "Australia/Lord_Howe"]
LAST, DAY, MS = 2147443200000, 86400000, timedelta(milliseconds=1)
EPOCH = datetime(1970, 1, 1, tzinfo=timezone.utc)


def ask(probe, zone, requests):
    out = subprocess.run([probe], input="\n".join(requests) + "\n", env=dict(os.environ, TZ=zone),
                         capture_output=True, text=True, check=True).stdout.splitlines()
    assert len(out) == len(requests), f"{zone}: {len(requests)} requests, {len(out)} answers"
    return out


def offset(zone, ms):
    return datetime.fromtimestamp(ms // 1000, ZoneInfo(zone)).utcoffset()


def instants(rng, zone, count, years):
    """Random instants, the range ends, and 15-minute steps across each change of offset."""
    chosen = [0, 1, DAY - 1, DAY, LAST - 1, LAST] + [rng.randrange(LAST + 1) for _ in range(count)]
    for year in years:
        t = (datetime(year, 1, 1, tzinfo=timezone.utc) - EPOCH) // MS
        for t in range(t, min(t + 366 * DAY, LAST - DAY), DAY):
            if offset(zone, t) != offset(zone, t + DAY):
                chosen += [t + DAY // 2 + k * 900000 + rng.randrange(1000) for k in range(-64, 65)]
    return [m for m in chosen if 0 <= m <= LAST]


def expected_text(ms, zone, local, milli):
    if not local and ms < DAY:
        return "null"
    dt = datetime.fromtimestamp(ms // 1000, ZoneInfo(zone) if local else timezone.utc)
    return dt.strftime("%Y%m%d%H%M%S") + ("%03d" % (ms % 1000) if milli else "")


def readings(text, zone, local, standard):
    """Local fields in an hour that the zone repeats have two readings. UTC fields are
    read as local time and shifted by the standard offset only, as designed."""
    naive = datetime.strptime(text[:14], "%Y%m%d%H%M%S")
    utc = (naive.replace(tzinfo=timezone.utc) - EPOCH) // MS + int(text[14:] or 0)
    shift = timedelta(0) if local else standard
    return {utc + (shift - naive.replace(tzinfo=ZoneInfo(zone), fold=f).utcoffset()) // MS
            for f in (0, 1)}


def check_zone(probe, zone, rng, count, years, failures):
    jan = datetime(2024, 1, 15, tzinfo=ZoneInfo(zone))
    standard = jan.utcoffset() - jan.dst()
    cases = [(m, l, w) for m in instants(rng, zone, count, years) for l in (1, 0) for w in (1, 0)]
    texts = ask(probe, zone, [f"text {m} {l} {w}" for m, l, w in cases])
    parses = []
    for (m, local, milli), text in zip(cases, texts):
        if text != expected_text(m, zone, local, milli):
            failures.append(f"{zone}: MSELToDateText({m}, {local}, {milli}) = {text}, Python "
                            f"{expected_text(m, zone, local, milli)}")
        elif text != "null":
            parses.append((text, local))
    answers = ask(probe, zone, [f"parse {t} {l} {int(len(t) == 17)}" for t, l in parses])
    for (text, local), answer in zip(parses, answers):
        if int(answer) not in readings(text, zone, local, standard):
            failures.append(f"{zone}: DateTextToMSEL({text}, {local}) = {answer}, Python "
                            f"{sorted(readings(text, zone, local, standard))}")
    return len(cases) + len(parses)


def expected_arithmetic(op, a, b):
    width = max(len(a), len(b))
    if op == "add":  # one spare digit, and only that zero goes
        text = str(int(a) + int(b)).zfill(width + 1)
        return text[1:] if text[0] == "0" else text
    if op == "sub":  # the ten's complement when b is larger
        return str((int(a) - int(b)) % 10**width).zfill(width)
    return str(int(a) * int(b))


def check_arithmetic(probe, rng, count, longest, failures):
    def number():
        digits = "".join(rng.choice("0123456789") for _ in range(rng.randint(1, longest)))
        return (digits.lstrip("0") or "0") if rng.random() < 0.8 else digits

    cases = [(op, number(), number()) for _ in range(count) for op in ("add", "sub", "mul")]
    for (op, a, b), answer in zip(cases, ask(probe, "UTC", [" ".join(c) for c in cases])):
        if answer != expected_arithmetic(op, a, b):
            failures.append(f"{op}({a}, {b}) = {answer}, Python {expected_arithmetic(op, a, b)}")
    return len(cases)


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    sweep, rng, failures = "--sweep" in sys.argv, random.Random(20240102), []
    years = range(1970, 2038, 1 if sweep else 6)
    checked = sum(check_zone(sys.argv[1], zone, rng, 100000 if sweep else 1000, years, failures)
                  for zone in ZONES)
    checked += check_arithmetic(sys.argv[1], rng, 20000 if sweep else 400, 300 if sweep else 60,
                                failures)
    print("\n".join(failures[:20] + [f"{checked} checks, {len(failures)} differ from Python"]))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
