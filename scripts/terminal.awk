# Draws text as the window of a terminal (SVG), in the reader's light or dark colours. Command lines are
# emphasized. With -v pause=SECONDS the lines appear one after the other, a pause after each command.
BEGIN {
    CHARACTER = 7.8
    LINE = 19
    MARGIN = 14
    y = 2 * MARGIN + LINE
    at = 0
}

function escaped(text) {
    gsub(/&/, "\\&amp;", text)
    gsub(/</, "\\&lt;", text)
    gsub(/>/, "\\&gt;", text)
    return text
}

{
    width = length($0) > width ? length($0) : width
    kind = /^\$ / ? "command" : /^\+ / ? "added" : /^- / ? "removed" : /^(Reason|0 ):?/ ? "reason" : ""
    if (kind == "command" && NR > 1) {
        at += pause
    }
    at += pause / 4
    style = pause ? sprintf(" style=\"animation-delay:%.2fs\"", at) : ""
    body = body sprintf("<text class=\"%s\"%s x=\"%d\" y=\"%d\">%s</text>\n", \
                        kind, style, MARGIN, y, escaped($0))
    y += LINE
}

END {
    w = int(2 * MARGIN + width * CHARACTER)
    h = y
    printf "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %d %d\" width=\"%d\" height=\"%d\">\n", \
        w, h, w, h
    print "<style>text { font: 13px ui-monospace, Menlo, Consolas, 'DejaVu Sans Mono', monospace;" \
          " white-space: pre; fill: #24292f } .frame { fill: #f6f8fa; stroke: #d0d7de }" \
          " .command { font-weight: bold } .added { fill: #116329 } .removed { fill: #a40e26 }" \
          " .reason { fill: #953800; font-weight: bold } .button { fill: #d0d7de }" \
          " @media (prefers-color-scheme: dark) { text { fill: #e6edf3 }" \
          " .frame { fill: #161b22; stroke: #30363d } .added { fill: #7ee787 }" \
          " .removed { fill: #ffa198 } .reason { fill: #ffa657 } .button { fill: #30363d } }"
    if (pause) {
        print "@keyframes appear { from { opacity: 0 } to { opacity: 1 } }" \
              " text { animation: appear .2s both }" \
              " @media (prefers-reduced-motion: reduce) { text { animation: none } }"
    }
    print "</style>"
    printf "<rect class=\"frame\" x=\".5\" y=\".5\" width=\"%d\" height=\"%d\" rx=\"8\"/>\n", w - 1, h - 1
    for (i = 0; i < 3; ++i) {
        printf "<circle class=\"button\" cx=\"%d\" cy=\"16\" r=\"5\"/>\n", MARGIN + 5 + i * 16
    }
    printf "%s</svg>\n", body
}
