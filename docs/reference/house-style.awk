# Shows the headers' plain comments to Doxygen: a comment above a declaration describes it and all that
# follow up to a blank line or the next comment; one after a declaration, on its line, describes that one.
function close_group() {
    if (in_group) print "///@}"
    in_group = 0
}

/^#pragma once/ { begun = 1 }
!begun || /^ *$/ || /^ *(public|protected|private):/ || /^}/ { in_comment = 0; close_group(); print; next }
/^ *\/\// {
    if (!in_comment) {
        close_group()
        in_group = /^ / # inside a class
        if (in_group) print "///@{"
    }
    in_comment = 1
    sub(/\/\//, "///")
    print
    next
}
{
    in_comment = 0
    sub(/; *\/\/ /, "; ///< ")
    sub(/, *\/\/ /, ", ///< ")
    print
}
