# What Doxygen reads in place of a header: enumerations that are made of list macros, written out.
# The comment or the text of a row becomes the note of the enumerator, the comment of the list that of
# the enumeration.

# The comment in front of whatever comes next.
/^\/\*\*/ { comment = "" }
/^\/\*\*/, /\*\// { comment = comment $0 "\n" }

/^#define ORVEX_[A-Z0-9_]+\(X\)/ {
    list = $2
    sub(/\(X\).*/, "", list)
    comments[list] = comment
    in_list = 1
}

in_list {
    row = $0
    while (match(row, /X\([A-Za-z0-9_]+, [^,)]+/)) {
        split(substr(row, RSTART + 2, RLENGTH - 2), part, ", ")
        row = substr(row, RSTART + RLENGTH)
        note = ""
        if (match(row, /\/\* .* \*\//)) note = " /**< " substr(row, RSTART + 3, RLENGTH - 3)
        else if (match(row, /"[^"]*"/)) note = " /**< " substr(row, RSTART + 1, RLENGTH - 2) " */"
        rows[list] = rows[list] "    " part[1] " = " part[2] "," note "\n"
    }
    if ($0 !~ /\\$/) in_list = 0
}

/^enum .*ORVEX_[A-Z0-9_]+\(ORVEX_[A-Z_]+\)/ {
    match($0, /ORVEX_[A-Z0-9_]+\(ORVEX_[A-Z_]+\)/)
    list = substr($0, RSTART, RLENGTH)
    rest = substr($0, RSTART + RLENGTH)
    first = substr($0, 1, RSTART - 1)
    sub(/\(.*/, "", list)
    printf "%s%s\n%s%s\n", comments[list], first, rows[list], rest
    next
}

{ print }
