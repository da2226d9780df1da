# Draws the benchmark tables as a bar chart (SVG), one bar for each peer, on a logarithmic scale to the
# base 2. A bar starts at ratio 1 and extends to the left if we are faster and to the right if we are
# slower. A short line marks the aim, if there is one; a bar that misses it is red.
BEGIN {
    FS = " *[|] *"
    LABELS = 470
    WIDTH = 860
    ROW = 18
    REACH = 4      # powers of two on each side
    y = 46
}

function escaped(text) {
    gsub(/&/, "\\&amp;", text)
    gsub(/</, "\\&lt;", text)
    gsub(/>/, "\\&gt;", text)
    return text
}

function xOf(ratio,    power) {
    power = log(ratio) / log(2)
    power = power < -REACH ? -REACH : power > REACH ? REACH : power
    return LABELS + (power + REACH) * (WIDTH - LABELS - 50) / (2 * REACH)
}

function draw(text) {
    body = body text "\n"
}

/^## / {
    y += 10
    draw("<text class=\"family\" x=\"8\" y=\"" y "\">" escaped(substr($0, 4)) "</text>")
    y += ROW
}

$2 != "what" && $2 !~ /^-*$/ && $5 != "" && $7 + 0 > 0 {
    state = $9 == "" ? "plain" : $9 == "yes" ? "met" : "missed"
    one = xOf(1)
    end = xOf($7)
    left = end < one ? end : one
    width = end < one ? one - end : end - one
    draw("<text x=\"8\" y=\"" y "\">" escaped($2 " / " $5) "</text>")
    draw("<rect class=\"" state "\" x=\"" left "\" y=\"" y - 11 "\" width=\"" width + 1 \
         "\" height=\"12\"/>")
    if ($8 != "" && $8 + 0 > 0) {
        draw("<line class=\"aim\" x1=\"" xOf($8) "\" x2=\"" xOf($8) "\" y1=\"" y - 13 \
             "\" y2=\"" y + 3 "\"/>")
    }
    draw("<text x=\"" WIDTH - 42 "\" y=\"" y "\">" $7 "</text>")
    y += ROW
}

END {
    print "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " WIDTH " " y "\" width=\"" \
          WIDTH "\" height=\"" y "\">"
    print "<style>text { font: 12px sans-serif; fill: #222 } .family { font-weight: bold }" \
          " .met { fill: #4a9a5b } .missed { fill: #c5523f } .plain { fill: #9aa3ad }" \
          " .aim { stroke: #111; stroke-width: 2 } .scale { stroke: #ccc } .page { fill: #fff }" \
          " @media (prefers-color-scheme: dark) { text { fill: #e6edf3 } .aim { stroke: #eee }" \
          " .scale { stroke: #30363d } .page { fill: #161b22 } }</style>"
    print "<rect class=\"page\" width=\"100%\" height=\"100%\"/>"
    for (power = -REACH; power <= REACH; ++power) {
        x = xOf(2 ^ power)
        print "<line class=\"scale\" x1=\"" x "\" x2=\"" x "\" y1=\"30\" y2=\"" y "\"/>"
        print "<text x=\"" x - 8 "\" y=\"22\">" (power < 0 ? "1/" 2 ^ -power : 2 ^ power) "</text>"
    }
    printf "%s</svg>\n", body
}
