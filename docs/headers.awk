# A header as Doxygen sees it. Run in docs/.

# The namespaces of all classes, and of those functions that no word of English is mistaken for; none for a name
# that several namespaces have.
BEGIN {
    while ("find ../include -name '*.hpp' -exec cat {} +" | getline line) {
        split(line, word)
        name = ""
        if (word[1] == "namespace") space = word[2]
        else if (line ~ /^(class|struct) .*[{,]$/) name = word[2] == "KX_EXPORT" ? word[3] : word[2]
        else if (match(line, /KX_EXPORT .*[ *&][a-z]+[_A-Z][A-Za-z_]*\(/)) {
            name = substr(line, 1, RSTART + RLENGTH - 2)
            sub(/.*[ *&]/, "", name)
        }
        if (name in scope && scope[name] != space) scope[name] = ""
        else if (name) scope[name] = space
    }
}

# Doxygen links the names of a namespace only in comments inside it, where an overview is not. Once a name will do.
/^\/\/\/ \\file$/ { overview = 1 }
!/^\/\/\// { overview = 0 }
overview && /^\/\/\/ [^ ]/ {
    for (name in scope)
        if (scope[name] && !(name in linked) && match($0, "[ (]" name "(::[A-Za-z_]+)?[^A-Za-z_:]")) {
            found = substr($0, RSTART + 1, RLENGTH - 2)
            $0 = substr($0, 1, RSTART) "@ref " scope[name] "::" found " \"" found "\"" substr($0, RSTART + RLENGTH - 1)
            linked[name]
        }
}

# From a class to the overview of its header.
commented && /^class / { print "///\n/// \\see " substr(FILENAME, index(FILENAME, "include/") + 8) }
{ commented = /^\/\/\// }

# A page that a comment names.
/^ *\/\/\// { gsub(/docs\/[a-z-]+\.md/, "[&](&)"); gsub(/\(docs\//, "(") }

# Copies and destructors that the compiler writes, or must not write, need no comment.
!/(&\)|~.*)( noexcept)? = (default|delete);$/
