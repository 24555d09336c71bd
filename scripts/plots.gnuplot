# SPDX-License-Identifier: GPL-2.0-only
# Called by "./run plots" with the folders data and out.
set terminal svg size 760,420 font "sans-serif,13" background "white"
set grid ytics
set key top left

set output out."/lookup.svg"
set title "A successful look-up, 16-byte key"
set xlabel "entries in the table"
set ylabel "nanoseconds"
set yrange [0:50]
set style data linespoints
set logscale x 2
set xtics (48, 256, 768)
plot data."/lookup-rule" using 1:2 title "rule table, with its lock" lw 3, \
     data."/lookup-outcome" using 1:2 title "outcome table, no lock" lw 3, \
     data."/lookup-rte_hash" using 1:2 title "rte\\_hash, no lock" lw 2, \
     data."/lookup-lfht" using 1:2 title "liburcu's lfht" lw 2, \
     data."/lookup-chained" using 1:2 title "chains, bytewise CRC, mutex" lw 2

set output out."/walk.svg"
set title "A full walk for the last service of a line"
set xlabel "services"
set ylabel "microseconds"
set logscale xy
set yrange [*:*]
set xtics (1, 2, 4, 8, 16, 32, 64, 128, 256)
plot data."/walk-up_ani-ports" using 1:($2/1000) title "upstream, all ports on one bridge" lw 3, \
     data."/walk-up_ani-bridges" using 1:($2/1000) title "upstream, a bridge each" lw 2, \
     data."/walk-down_ani-ports" using 1:($2/1000) title "downstream" lw 2

set output out."/hook.svg"
set title "One upstream frame towards the ANI, a frame of each service in turn"
plot data."/hook-first" using 1:($2/1000) title "first frame: walk and learn" lw 3, \
     data."/hook-quick" using 1:($2/1000) title "replay of a rule" lw 2, \
     data."/hook-known" using 1:($2/1000) title "remembered outcome" lw 2

unset logscale
set output out."/frame.svg"
set title "Instructions that a frame costs more than over the plain bridge, in a kernel"
unset xlabel
set ylabel "instructions"
set yrange [0:*]
set style data boxes
set style fill solid 0.6
set boxwidth 0.7
unset key
set xtics auto font ",10"
plot data."/guest" using 0:2:xtic(1) notitle, \
     data."/guest" using 0:2:(sprintf("%d", $2)) with labels offset 0,0.7 notitle
