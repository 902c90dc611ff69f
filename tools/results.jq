# What the tables of timings take from the report of Google Benchmark.

# The medians by the names of the benchmarks: a time in microseconds, a speed in MB/s.
def medians: .benchmarks | map(select(.aggregate_name == "median")) | INDEX(.run_name);
def round(digits): pow(10; digits) as $p | (. * $p | . + 0.5 | floor) / $p;
def us($name): .[$name].real_time * ({"ns": 0.001, "us": 1, "ms": 1000}[.[$name].time_unit]);
def mbs($name): .[$name].bytes_per_second / 1e6 | round(0);

def row: "| " + (map(tostring) | join(" | ")) + " |";

# Rows of goals: what was measured, and whether it is enough.
def at_least($what; $ratio; $goal):
    [$what, "\($ratio | round(2)) times", if $ratio >= $goal then "met" else "not met" end];
def at_most($what; $ratio; $goal):
    [$what, ($ratio | round(2)), if $ratio <= $goal then "met" else "not met" end];
