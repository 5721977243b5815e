# Hands Doxygen a header with what its lines say without words: that a constructor copies, that an operator compares, and
# that an accessor's value is the member whose meaning is written where it is declared. Line numbers stay as they are.

{
    file = FILENAME
    line[NR] = $0
    # "m_size; ///< what it is" and the docstring of one line above a member
    if (match($0, /[ &*]m_[A-Za-z0-9]+( = [^;]*)?;/)) {
        name = substr($0, RSTART + 1, RLENGTH - 1)
        sub(/[ ;].*/, "", name)
        if (match($0, /\/\/\/< .*/)) {
            meaning[name] = substr($0, RSTART + 5)
            open = name
            next
        } else if (line[NR - 1] ~ /^ *\/\*\* .* \*\/$/) {
            meaning[name] = line[NR - 1]
            gsub(/^ *\/\*\* | \*\/$/, "", meaning[name])
        }
    } else if (open != "" && $0 ~ /^ +\/\/\/< /) {
        more = $0
        sub(/^ +\/\/\/< /, "", more)
        meaning[open] = meaning[open] " " more
        next
    }
    open = ""
}

function describe(text) {
    match(text, /^ */)
    indent = substr(text, 1, RLENGTH)
    sub(/^ */, "", text)
    sub(/^((explicit|constexpr|static|inline) )*/, "", text)
    if (text ~ /= delete/) {
        return ""
    }
    if (text ~ /^enum Enum[ :]/) {
        return "The values."
    }
    if (text ~ /^bool (Sampled|Chunked) = /) {
        return "See PropertyTraits."
    }
    if (match(text, /^[A-Za-z0-9_]+\(/)) {
        name = substr(text, 1, RLENGTH - 1)
        if (text ~ "^" name "\\(" name "(<[^>]*>)? const& ?[a-z]*\\)") {
            return "Copies."
        }
        if (text ~ "^" name "\\(" name "(<[^>]*>)?&& ?[a-z]*\\)") {
            return "Takes over what the other one holds."
        }
    }
    if (text ~ /^[A-Za-z0-9_]+& operator=\([A-Za-z0-9_]+ const&/) {
        return "Becomes a copy of the other one."
    }
    if (text ~ /^[A-Za-z0-9_]+& operator=\([A-Za-z0-9_]+&& /) {
        return "Takes over what the other one holds."
    }
    if (text ~ /^bool operator==/) {
        return "Whether both are equal."
    }
    if (text ~ /^bool operator!=/) {
        return "Whether they differ."
    }
    if (text ~ /operator[-+*]=?\(/ && file ~ /\/Vector\.h$/) {
        return "By components."
    }
    if (match(text, /\) (const )?\{ return m_[A-Za-z0-9]+(\.Get\(\))?; \}/)) {
        name = substr(text, RSTART, RLENGTH)
        sub(/.*return /, "", name)
        sub(/[.;].*/, "", name)
        return meaning[name]
    }
    return ""
}

# "T x, y;" as declarations of their own, to each of which the docstring above belongs.
function share(text, docstring,   type) {
    type = text
    sub(/ [A-Za-z0-9]+,.*/, "", type)
    sub(/^ */, "", docstring)
    gsub(/, /, "; " docstring " " type " ", text)
    return text
}

END {
    for (i = 1; i <= NR; i++) {
        text = ""
        if (line[i - 1] !~ /\*\/$/ && line[i - 1] !~ /^ *template </ && line[i] !~ /\/\/\/< /) {
            text = describe(line[i])
        }
        if (line[i] ~ /^ *[A-Za-z ]+ [A-Za-z0-9]+(, [A-Za-z0-9]+)+; +\/\/\/< /) {
            docstring = line[i]
            sub(/.*\/\/\/< /, "", docstring)
            sub(/; +\/\/\/< .*/, ";", line[i])
            docstring = "/** " docstring " */"
            print docstring " " share(line[i], docstring)
        } else if (line[i - 1] ~ /^ *\/\*\* .* \*\/$/ && line[i] ~ /^ *[A-Za-z ]+ [A-Za-z0-9]+(, [A-Za-z0-9]+)+;$/) {
            print share(line[i], line[i - 1])
        } else if (text == "") {
            print line[i]
        } else {
            print indent "/** " text " */ " substr(line[i], length(indent) + 1)
        }
    }
}
