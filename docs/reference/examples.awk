# A page for each file of the examples: the comment at its top and the file itself.
FNR == 1 {
    if (isOpen) finish()
    isOpen = isTop = 1
    path = FILENAME
    sub(/^examples\//, "", path)
    text = ""
}
isTop && /^\/\/ / { text = text substr($0, 4) "\n"; next }
isTop && /^\/\* .* \*\/$/ { text = text substr($0, 4, length($0) - 6) "\n" }
{ isTop = 0 }
END { finish() }

function finish() { printf "/*! @example %s\n%s*/\n\n", path, text }
