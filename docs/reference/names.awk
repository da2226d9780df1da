# The classes and namespaces of headers, each with its whole name.
/^namespace [A-Za-z:]+ \{/ && $2 != "platform" {
    space[FILENAME] = space[FILENAME] $2 "::"
    name = $2
    sub(/.*::/, "", name)
    if (name !~ /^zel$|Imp$/) print name, substr(space[FILENAME], 1, length(space[FILENAME]) - 2)
}
/^}  \/\/ namespace / { sub(/[A-Za-z]+::$/, "", space[FILENAME]) }
/^(class|struct) .*[A-Za-z]+( final)?( : .*)? \{/ {
    name = $0
    sub(/( :.*)? \{.*/, "", name)
    sub(/.* /, "", name)
    if (name !~ /[<>]|Imp$/) print name, space[FILENAME] name
}
