# What the lists of folders and headers say of each room: its line in the page on architecture.
BEGIN { print "/** @namespace zel\nAll names of the two libraries but the entry for C. */" }
/^    zel\/[a-z]+ / && !/ private: / {
    room = $1
    sub(/^ *[^ ]+ +/, "")
    first = /^lib/ ? "l" : toupper(substr($0, 1, 1))
    printf "/** @dir %s\n%s%s */\n", room, first, substr($0, 2)
}
