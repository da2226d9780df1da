# Turns the comments of a header into those that Doxygen reads, line by line:
#
#   - the block right above a declaration is that declaration's, and that of the declarations which
#     follow it without a line between: one comment for a family of overloads
#   - the block ahead of everything, with an empty line behind it, is the file's
#   - a comment behind a field is that field's
#   - lines set in by four more blanks are code
#
# Copies, moves, destructors and the constructors of exceptions need no words. Macros that the file
# undefines and instances of templates are left out.

function push(text) { block[++blockSize] = text }

# What Doxygen would take for a command, a tag or emphasis stands for itself, but for what is in
# backticks.
function escape(text,    parts, count, i, result) {
    count = split(text, parts, "`")
    for (i = 1; i <= count; ++i) {
        if (!inBackticks) {
            gsub(/[\\@%#*]/, "\\\\&", parts[i])
            gsub(/&/, "\\&amp;", parts[i])
            gsub(/</, "\\&lt;", parts[i])
            gsub(/>/, "\\&gt;", parts[i])
            gsub(/&gt;::/, "\\&gt;\\::", parts[i])
        }
        result = result (i > 1 ? "`" : "") parts[i]
        if (i < count) inBackticks = !inBackticks
    }
    return result
}

function emit(opening,    i, code, gaps) {
    inBackticks = 0
    if (opening != "") print "/// " opening
    for (i = 1; i <= blockSize; ++i) {
        if (block[i] ~ /^ *$/) { ++gaps; if (!code) inBackticks = 0; continue }
        if (block[i] ~ /^     /) {
            if (!code) { print "///"; print "/// @code{.cpp}"; code = 1; gaps = 0 }
            for (; gaps > 0; --gaps) print "///"
            print "/// " substr(block[i], 6)
            continue
        }
        if (code) { print "/// @endcode"; code = 0 }
        for (; gaps > 0; --gaps) print "///"
        print "///" escape(block[i])
    }
    if (code) print "/// @endcode"
}

# The line without its strings, characters and comment.
function bare(line) {
    gsub(/"([^"\\]|\\.)*"/, "S", line)
    gsub(/'([^'\\]|\\.)*'/, "C", line)
    sub(/\/\/.*/, "", line)
    return line
}

# Where the comment behind the code of a line begins; 0 without one.
function commentIn(line,    column) {
    for (column = 1; column < length(line); ++column) {
        if (substr(line, column, 2) == "//" && bare(substr(line, 1, column - 1)) !~ /"/) {
            return column
        }
    }
    return 0
}

# Follows the braces: what is open, and whether that is a function's body or an initialiser.
function follow(code,    i, c, head) {
    for (i = 1; i <= length(code); ++i) {
        c = substr(code, i, 1)
        if (c == "{") {
            head = statement
            while (sub(/^ *template *<[^<>]*(<[^<>]*>[^<>]*)*>/, "", head)) continue
            open[++depth] = head ~ /^ *(namespace|class|struct|union|enum|extern)/ && head !~ /\(/
            if (open[depth]) statement = ""
            else ++bodies
        } else if (c == "}") {
            if (!open[depth]) {
                --bodies
                statement = bodies ? statement : "}"
            } else {
                statement = ""
            }
            --depth
        } else if (c == ";" && !bodies) {
            statement = ""
        } else if (!bodies) {
            statement = statement c
        }
    }
    # A function's body ends its declaration; an initialiser doesn't, but then its line goes on.
    statement = statement ~ /^}? *$/ ? "" : statement " "
}

function isTrivial(code) {
    return code ~ /= (default|delete);/ || code ~ /^ *(virtual )?~[A-Za-z]+\(\)/ ||
           code ~ /^ *[A-Za-z]+Ex\(const std::string& / ||
           code ~ /^ *([A-Za-z]+)\((const )?[A-Za-z]+&&? *[a-z]*\)/ && isCopyOf(code) ||
           code ~ /^ *[A-Za-z]+& operator=\((const )?[A-Za-z]+&?&? ?[a-z]*\)/
}

# Whether the one parameter of a constructor is of its own class.
function isCopyOf(code,    name, parameter) {
    name = parameter = code
    sub(/^ */, "", name)
    sub(/\(.*/, "", name)
    sub(/^[^(]*\((const )?/, "", parameter)
    sub(/&.*/, "", parameter)
    return name == parameter
}

# A declaration begins.
function begin(code) {
    if (blockSize > 0) {
        emit("")
        shared = 1
    } else if (commentIn($0)) {
        shared = 0
    } else if (isTrivial(code)) {
        print "/// @htmlonly @endhtmlonly"
    } else if (shared) {
        blockSize = sharedSize
        emit("")
    }
    sharedSize = blockSize > 0 ? blockSize : sharedSize
    blockSize = 0
}

BEGIN {
    while ((getline line < ARGV[1]) > 0) {
        if (split(line, words, " ") > 1 && words[1] == "#undef") undefined[words[2]] = 1
    }
    close(ARGV[1])
}

FNR == 1 { print "/// @file" }

# The private part of a class is left out, up to its end or to the next part.
hidden {
    if ($0 ~ /^ *(public|protected):/ && depth == hidden) {
        hidden = 0
    } else {
        if ($0 !~ /^ *#/) follow(bare($0))
        if (depth < hidden) hidden = 0
    }
    print hidden ? "" : $0
    next
}

# Continued preprocessor lines and instances that are left out.
inMacro {
    inMacro = /\\$/
    print isLeftOut ? "" : $0
    next
}
inInstance {
    inInstance = !/;/
    print ""
    next
}

bodies > 0 {
    print
    follow(bare($0))
    next
}

/^ *\/\// {
    if (trailing && match($0, /\/\//) == trailing) {
        text = $0
        sub(/^ *\/\//, "", text)
        print "///<" escape(text)
        next
    }
    trailing = 0
    if (blockSize == 0) shared = 0
    text = $0
    sub(/^ *\/\//, "", text)
    push(text)
    next
}

{ trailing = 0 }

/^ *$/ || /^ *#/ && !/^ *# *define/ {
    if (blockSize > 0 && depth == 0) {
        for (i = 1; i <= blockSize; ++i) fileText = fileText block[i]
        emit("@file")
    } else {
        for (i = 1; i <= blockSize; ++i) print ""
    }
    if ($0 ~ /#/) {
        inMacro = /\\$/
        statement = ""
    }
    isLeftOut = 0
    blockSize = shared = 0
    print
    next
}

/^ *# *define/ {
    name = $2
    sub(/\(.*/, "", name)
    isLeftOut = name in undefined
    inMacro = /\\$/
    if (blockSize > 0) emit("")
    else if (index(fileText, name)) print "/// The comment of the file tells what it is for."
    blockSize = shared = 0
    print isLeftOut ? "" : $0
    next
}

statement == "" && /^ *extern template/ {
    inInstance = !/;/
    blockSize = shared = 0
    print ""
    next
}

{
    code = bare($0)
    if (code ~ /^ *(public|protected|private):/) {
        shared = blockSize = 0
        if (code ~ /private/) hidden = depth
        print
        next
    }
    if (statement == "" && code !~ /^ *}/) begin(code)
    before = depth
    line = $0
    if (code ~ /[;,}] *$/ && code !~ /^ *}/ && (column = commentIn(line))) {
        inBackticks = 0
        line = substr(line, 1, column - 1) "///<" escape(substr(line, column + 2))
        trailing = column
    }
    print line
    follow(code)
    if (depth > before && open[depth] || code ~ /^ *}/) shared = 0
}
