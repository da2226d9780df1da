# Turns a Markdown page, which is good to read as it stands, into a page of the reference:
#
#   - links to other pages, to headers and to examples go to their pages
#   - the first link from the README to a page makes that page a part of it
#   - `Name` leads to the class of that name, once in a paragraph; NAMES lists those there are
#   - a fence of dot is drawn

BEGIN {
    while ((getline line < NAMES) > 0) {
        split(line, words, " ")
        classes[words[1]] = words[2]
    }
}

function nameOf(path) {
    sub(/.*\//, "", path)
    sub(/\.md$/, "", path)
    return path == "README" ? "index" : tolower(path)
}

# The file name under which Doxygen shows an example.
function exampleOf(path) {
    sub(/^examples\//, "", path)
    gsub(/\//, "_2", path)
    gsub(/\./, "_8", path)
    return path "-example.html"
}

function linkTo(text, target) {
    sub(/^(\.\.\/)+/, "", target)
    if (target ~ /^[a-z]+:/) return "[" text "](" target ")"
    if (target ~ /^examples\//) return "<a href=\"" exampleOf(target) "\">" text "</a>"
    if (target ~ /\.h$/) {
        sub(/.*\//, "", target)
        return "@ref " target " \"" text "\""
    }
    if (target !~ /\.md$/) return text
    # A link that shows its path shows the title of its page instead.
    text = text ~ /\.md$/ ? "" : " \"" text "\""
    target = nameOf(target)
    if (isFront && !(target in isPart)) {
        isPart[target] = 1
        return "@subpage " target text
    }
    return "@ref " target text
}

function links(line,    result, text, target) {
    while (match(line, /\[[^][]*\]\([^()]*\)/)) {
        text = target = substr(line, RSTART, RLENGTH)
        sub(/^\[/, "", text)
        sub(/\]\(.*/, "", text)
        sub(/^.*\]\(/, "", target)
        sub(/\)$/, "", target)
        result = result substr(line, 1, RSTART - 1) linkTo(text, target)
        line = substr(line, RSTART + RLENGTH)
    }
    return result line
}

function literally(text) {
    gsub(/[\\"@%#]/, "\\\\&", text)
    gsub(/</, "\\&lt;", text)
    gsub(/::/, "\\::", text)
    return text
}

function names(line,    parts, count, i, result) {
    count = split(line, parts, "`")
    for (i = 1; i <= count; ++i) {
        if (i % 2 == 1) {
            result = result parts[i]
        } else if (parts[i] in classes && !(parts[i] in told)) {
            told[parts[i]] = 1
            result = result "<tt>@ref " classes[parts[i]] " \"" parts[i] "\"</tt>"
        } else if (parts[i] ~ /["\\]|^::/) {
            result = result "<tt>" literally(parts[i]) "</tt>"
        } else {
            result = result "`" parts[i] (i < count ? "`" : "")
        }
    }
    return result
}

FNR == 1 {
    isFront = FILENAME ~ /README\.md$/
}

/^```/ {
    if (inFence) {
        print isDot ? "@enddot" : $0
        inFence = isDot = 0
    } else {
        inFence = 1
        isDot = $0 == "```dot"
        print isDot ? "@dot" : $0
    }
    next
}

isDot && /^digraph/ {
    print
    print "graph [fontname=Helvetica, fontsize=11, color=gray60, labeljust=l]"
    print "node [fontname=Helvetica, fontsize=11, height=0.35, color=gray40]"
    print "edge [fontname=Helvetica, fontsize=10, arrowsize=0.7, color=gray40]"
    next
}

inFence || /^    / {
    print
    next
}

/^# / && !isTitled {
    isTitled = 1
    print $0 " {#" (isFront ? "mainpage" : nameOf(FILENAME)) "}"
    next
}


/^ *$/ { split("", told) }

{ print links(names($0)) }
