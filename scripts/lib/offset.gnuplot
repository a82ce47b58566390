# Draws how the offset of the bridge's clock went, as the daemon measured it and in truth, and how it was steered.
#   gnuplot -c offset.gnuplot SYNCS TRUTH SVG
# SYNCS: seconds, offset in ns, steering in counts of 2^-38. TRUTH: seconds, offset in ns.
syncs = ARG1
truth = ARG2
set terminal svg size 900,540 font "sans-serif,13" background rgb "white"
set output ARG3

# A frame that is always the same, with 0 of both axes at one height. What a busy machine throws out of it is counted.
lowest = -12 # microseconds
highest = 6
outside = 0
IsOutside(us) = us < lowest || us > highest
stats syncs using (outside = outside + IsOutside($2 / 1000), 0) nooutput
total = STATS_records
set yrange [lowest:highest]
set y2range [lowest / 0.3:highest / 0.3]

set title "The bridge's clock follows the grandmaster"
Small(text) = "{/*0.85 " . text . "}"
set xlabel "seconds since the clock was stepped\n" \
    . Small(sprintf("%d of %d measured offsets lie outside the frame.", outside, total)) . "\n" \
    . Small("The time stamps are the kernel's. A Sync takes longer through it than the frames that measure the link delay, so the true offset") . "\n" \
    . Small("stays beside 0. Behind another frame, as once a second behind an Announce, a Sync takes half the time: an outlier is measured.") . "\n "
set ylabel "grandmaster less bridge, microseconds"
set y2label "frequency correction, ppm"
set ytics nomirror
set y2tics
set grid
set key bmargin center horizontal maxcols 2
set xzeroaxis linewidth 1.5
plot syncs using 1:($2 / 1000) with linespoints pointtype 7 pointsize 0.35 title "offset that the daemon measures", \
     truth using 1:($2 / 1000) with lines linewidth 2 linecolor "black" title "true offset", \
     syncs using 1:($3 / 2.0**38 * 1e6) axes x1y2 with lines linewidth 2 linecolor 2 title "correction of the clock (right)", \
     -20 axes x1y2 with lines linewidth 1 dashtype 2 linecolor 2 title "-20 ppm, which undoes its error (right)"
