# Draws how the offset and the frequency correction of the bridge's clock went.
#   gnuplot -c offset.gnuplot DATA SVG    DATA: seconds, offset in ns, steering in counts of 2^-38
set terminal svg size 900,480 font "sans-serif,13" background rgb "white"
set output ARG2
set title "The bridge's clock follows the grandmaster"
set xlabel "seconds since the clock was stepped"
set ylabel "offset from the grandmaster, microseconds"
set y2label "frequency correction, ppm"
set ytics nomirror
set y2tics
set grid
set key below
set yrange [-30 < * : * < 30] # a Sync that a busy machine stamped late does not flatten the rest
set xzeroaxis linewidth 1.5
plot ARG1 using 1:($2 / 1000) with linespoints pointtype 7 pointsize 0.35 title "offset at each Sync", \
     ARG1 using 1:($3 / 2.0**38 * 1e6) axes x1y2 with lines linewidth 2 title "frequency correction (right)"
