# What a process has cost so far, as the kernel counts it, and medians; sourced by the benchmarks.

# Processor time of a process, or of a thread as "PID/task/TID", in ticks of getconf CLK_TCK.
ticks() { sed 's/.*) //' "/proc/$1/stat" | awk '{ print $12 + $13 }'; }
# Of all threads: how often one gave up the processor to wait, and so was woken again.
wake_ups() { cat "/proc/$1"/task/*/status | awk '/^voluntary_ctxt_switches/ { sum += $2 } END { print sum }'; }

# median FILE COLUMN: of what several runs have cost.
median() {
    cut -d ' ' -f "$2" "$1" |
        "$(dirname "${BASH_SOURCE[0]}")/../../Tests/EndToEnd/analysis/measurements.py" spread | cut -d ' ' -f 2
}
