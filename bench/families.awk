# Draws the benchmark tables as one row for each family (SVG): a dot for each peer, on a logarithmic scale
# to the base 2. Left of 1 the library is faster or smaller than the peer, right of it slower or larger.
BEGIN {
    FS = " *[|] *"
    LABELS = 96
    WIDTH = 620
    ROW = 26
    REACH = 4      # powers of two on each side
    y = 44
}

function xOf(ratio,    power) {
    power = log(ratio) / log(2)
    power = power < -REACH ? -REACH : power > REACH ? REACH : power
    return LABELS + (power + REACH) * (WIDTH - LABELS - 24) / (2 * REACH)
}

/^## / {
    y += ROW
    body = body "<text x=\"12\" y=\"" y + 4 "\">" substr($0, 4) "</text>\n"
}

$2 != "what" && $2 !~ /^-*$/ && $5 != "" && $7 + 0 > 0 {
    class = $7 + 0 <= 1 ? "faster" : "slower"
    ++count[class]
    body = body sprintf("<circle class=\"%s\" cx=\"%.1f\" cy=\"%d\" r=\"5\"/>\n", class, xOf($7), y)
}

END {
    height = y + 52
    printf "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %d %d\" width=\"%d\" height=\"%d\">\n", \
        WIDTH, height, WIDTH, height
    print "<style>text { font: 13px sans-serif; fill: #24292f } .frame { fill: #fff; stroke: #d0d7de }" \
          " .scale { stroke: #d0d7de } .faster { fill: #1a7f37; fill-opacity: .6 }" \
          " .slower { fill: #bc4c00; fill-opacity: .6 } @media (prefers-color-scheme: dark) {" \
          " text { fill: #e6edf3 } .frame { fill: #161b22; stroke: #30363d } .scale { stroke: #30363d }" \
          " .faster { fill: #7ee787 } .slower { fill: #ffa657 } }</style>"
    printf "<rect class=\"frame\" x=\".5\" y=\".5\" width=\"%d\" height=\"%d\" rx=\"8\"/>\n", \
        WIDTH - 1, height - 1
    for (power = -REACH; power <= REACH; ++power) {
        x = xOf(2 ^ power)
        printf "<line class=\"scale\" x1=\"%.1f\" x2=\"%.1f\" y1=\"40\" y2=\"%d\"/>\n", x, x, height - 34
        printf "<text x=\"%.1f\" y=\"28\" text-anchor=\"middle\">%s</text>\n", x, \
            power < 0 ? "1/" 2 ^ -power : 2 ^ power
    }
    printf "%s<text x=\"%d\" y=\"%d\" text-anchor=\"middle\">less than the peer: %d&#160;&#160;&#8592;" \
        "&#160;&#160;ratio&#160;&#160;&#8594;&#160;&#160;more: %d</text>\n</svg>\n", \
        body, xOf(1), height - 14, count["faster"], count["slower"]
}
