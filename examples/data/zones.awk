# The system's table of time zones with the two angles of each in cells of their own, in degrees.
# -v OFS=... parts the cells.
BEGIN { FS = "\t" }
function degrees(angle, digits,    size) {
    size = substr(angle, 2, digits) + substr(angle, 2 + digits, 2) / 60
    size += substr(angle, 4 + digits, 2) / 3600
    return sprintf("%.4f", angle ~ /^-/ ? -size : size)
}
/^#/ { next }
{
    east = match(substr($2, 2), /[-+]/) + 1
    gsub(",", "`", $1)
    print $3, degrees(substr($2, 1, east - 1), 2), degrees(substr($2, east), 3), $1
}
