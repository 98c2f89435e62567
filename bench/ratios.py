"""Prints the benchmarks of one run (Google Benchmark's JSON on standard input) as ratios.

Of every benchmark the best repetition counts: what disturbs a measurement only makes it longer.
"""
import json
import sys

# Benchmark -> what it is compared with: the same benchmark arguments of the peer ("/1000").
PEERS = {
    "exportedCalls": "memcpyOfTheRecord",
    "directEncoding": "memcpyOfTheRecord",
    "flatBuffersStructs": "memcpyOfTheRecord",
    "libmnlAttributes": "memcpyOfTheRecord",
    "protobufMessage": "memcpyOfTheRecord",
    "librarySend": "rawSend",
    "rawEpollRoundTrip": "rawRoundTrip",
    "libraryRoundTrip": "rawRoundTrip",
    "policyStore": "standardMap",
    "policyStorePrefixed": "standardMapPrefixed",
    "policyStoreMisses": "standardMapMisses",
    "createInTable": "createInListAndMap",
    "findInTable": "findInListAndMap",
    "evaluateTable": "evaluateList",
    "evaluateListOfListAndMap": "evaluateList",
    "evaluateShuffledTable": "evaluateShuffledList",
    "answerRangeInTree": "answerRangeInMap",
}


def peer_of(benchmark):
    name, slash, arguments = benchmark.partition("/")
    return PEERS[name] + slash + arguments if name in PEERS else None


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
        peer = peer_of(name)
        ratio = f"{time / best[peer]:7.2f} x {peer}" if peer in best else ""
        print(f"{name:32} {time:10.2f} ns  {ratio}")


main()
