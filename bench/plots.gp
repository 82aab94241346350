# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# Draws what fibdb-bench left behind.   gnuplot -e "folder='build/bench'" bench/plots.gp
set encoding utf8
set style fill solid 0.9 noborder
set grid
set border 3
set rmargin 16
# fibdb first, in a colour of its own.
array colours[12] = ["#d62728", "#7f7f7f", "#1f77b4", "#17becf", "#2ca02c", "#bcbd22", "#ff7f0e", "#9467bd", "#8c564b", \
  "#e377c2", "#111111", "#aec7e8"]
do for [i = 1:12] { set linetype i lc rgb colours[i] lw 2 }
set linetype cycle 12
set tics nomirror
file(name) = folder . "/" . name
blocks(name) = int(system(sprintf("grep -c '^\"' %s", name)))

# Throughput by operation: a cluster of bars for each, a bar for each peer; what gives no records apart.
set terminal svg size 1300,800 noenhanced font "sans-serif,12" background "white"
set style data histograms
set style histogram clustered gap 2
set key outside bottom center horizontal maxrows 2
set xtics rotate by -40
set logscale y
set format y "%.0s%c"
set datafile separator "\t"
rows(condition) = sprintf("<awk 'NR == 1 || %s' %s", condition, file("throughput.dat"))
# The columns that have a number there.
peers(condition) = system(sprintf("awk -F'\t' 'NR > 1 && %s { for (i = 2; i <= NF; ++i) if ($i != \"NaN\") has[i] = 1 } " \
  . "END { for (i = 2; i <= NF; ++i) if (has[i]) print i }' %s", condition, file("throughput.dat")))
set output file("throughput.svg")
set title "operations per second, medians"
plot for [peer in peers("!/index only/")] rows("!/index only/") using int(peer):xtic(1) title columnheader lt int(peer) - 1
set output file("index.svg")
set title "operations per second, medians, of the index for longest prefixes alone"
plot for [peer in peers("/index only/")] rows("/index only/") using int(peer):xtic(1) title columnheader lt int(peer) - 1
unset logscale
set xtics norotate autofreq


# Cost by number of routes: a line for each peer.
set terminal svg size 800,500 noenhanced font "sans-serif,12" background "white"
set rmargin -1
set key outside right top vertical maxrows 0
set logscale x
set format x "%.0s%c"
set logscale y
set format y "%g"
set xlabel "routes"
set style data linespoints
number = 0
while (number < 100) {
  data = file(sprintf("series-%d.dat", number))
  if (system(sprintf("test -s %s && echo yes", data)) ne "yes") { break }
  work = system(sprintf("head -n 1 %s | cut -f 1 | tr -d '\"'", data))
  set title work
  set ylabel (work[1:5] eq "bytes" ? "bytes per route" : "nanoseconds")
  set output file(sprintf("series-%d.svg", number))
  plot for [block = 0:blocks(data) - 1] data index block using 1:2 title columnheader(2)
  number = number + 1
}

# Latency of a read: which share took longer than so many nanoseconds.
set output file("latency.svg")
set title "a read by longest prefix, alone and beside a writer that never pauses"
set xlabel "share of the reads that took longer"
set ylabel "nanoseconds"
set xrange [1:1e-5] reverse
set format x "%g"
set format y "%g"
plot for [block = 0:blocks(file("latency.dat")) - 1] file("latency.dat") index block using 1:2 title columnheader(2)
