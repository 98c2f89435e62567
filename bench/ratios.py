"""Prints the benchmarks of one run (Google Benchmark's JSON on standard input) as ratios.

Of every benchmark the best repetition counts: what disturbs a measurement only makes it longer.
"""
import json
import sys

# Benchmark -> what it is compared with, and the unit that both are counted in.
PEERS = {
    "exportedCalls": "memcpyOfTheRecord",
    "directEncoding": "memcpyOfTheRecord",
    "flatBuffersStructs": "memcpyOfTheRecord",
    "libmnlAttributes": "memcpyOfTheRecord",
    "protobufMessage": "memcpyOfTheRecord",
    "librarySend/5/real_time": "rawSend/5/real_time",
    "librarySend/1/real_time": "rawSend/1/real_time",
    "rawEpollRoundTrip/real_time": "rawRoundTrip/real_time",
    "libraryRoundTrip/real_time": "rawRoundTrip/real_time",
    "policyStore/1000": "standardMap/1000",
    "policyStore/10000": "standardMap/10000",
    "policyStore/100000": "standardMap/100000",
    "policyStore/1000000": "standardMap/1000000",
    "createInTable/1000": "createInListAndMap/1000",
    "createInTable/10000": "createInListAndMap/10000",
    "createInTable/100000": "createInListAndMap/100000",
    "findInTable/1000": "findInListAndMap/1000",
    "findInTable/10000": "findInListAndMap/10000",
    "findInTable/100000": "findInListAndMap/100000",
    "evaluateTable/1000": "evaluateList/1000",
    "evaluateTable/10000": "evaluateList/10000",
    "evaluateTable/100000": "evaluateList/100000",
}


def best_times(run):
    best = {}
    for row in run["benchmarks"]:
        if row.get("run_type") != "iteration":
            continue
        if row.get("error_occurred"):
            sys.exit(f"{row['name']}: {row.get('error_message')}")
        name = row["run_name"]
        best[name] = min(best.get(name, row["real_time"]), row["real_time"])
    return best


def main():
    best = best_times(json.load(sys.stdin))
    for name, time in sorted(best.items(), key=lambda item: item[1]):
        peer = PEERS.get(name)
        ratio = f"{time / best[peer]:7.2f} x {peer}" if peer in best else ""
        print(f"{name:30} {time:10.2f} ns  {ratio}")


main()
