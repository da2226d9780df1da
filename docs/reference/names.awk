# The classes in headers that are written as Doxygen has them, and the namespaces they stand in.
/^namespace [A-Za-z:]+ \{/ { space[FILENAME] = space[FILENAME] $2 "::" }
/^}  \/\/ namespace / { sub(/[A-Za-z]+::$/, "", space[FILENAME]) }
/^(class|struct) .*[A-Za-z]+( final)?( : .*)? \{/ {
    name = $0
    sub(/( :.*)? \{.*/, "", name)
    sub(/.* /, "", name)
    if (name !~ /[<>]|Imp$/) print name, space[FILENAME] name
}
