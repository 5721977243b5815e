# Makes a manual page of a guide in Markdown: tables become lists of their first column with what the others say of it.
#
#   awk -v name=kelvo-player -v about="what it is in a line" -v version=1.0 -v date=2026-01-31 -f ManPage.awk GUIDE

function inline(text) {
    gsub(/\\/, "\\e", text)
    gsub(/-/, "\\-", text)
    text = gensub_links(text)
    text = bold(text, "`")
    text = bold(text, "\\*\\*")
    sub(/^[.']/, "\\\\\\&&", text)
    return text
}

# [words](address): the words.
function gensub_links(text,   words) {
    while (match(text, /\[[^]]*\]\([^)]*\)/)) {
        words = substr(text, RSTART + 1, RLENGTH - 1)
        sub(/\]\(.*/, "", words)
        text = substr(text, 1, RSTART - 1) words substr(text, RSTART + RLENGTH)
    }
    return text
}

function bold(text, mark) {
    while (text ~ mark) {
        sub(mark, "\\fB", text)
        sub(mark, "\\fR", text)
    }
    return text
}

function trim(text) {
    gsub(/^ +| +$/, "", text)
    return text
}

# "| `--out FILE` | what it does |": fields from 2 on.
function row(text,   count, cells, i) {
    gsub(/\\\|/, "\001", text)
    count = split(text, cells, "|") - 1
    for (i = 2; i <= count; i++) {
        gsub(/\001/, "|", cells[i])
        cells[i] = trim(cells[i])
    }
    if (!table) {
        table = 1
        for (i = 2; i <= count; i++) {
            heads[i] = cells[i]
        }
        return
    }
    if (cells[2] ~ /^:?-+:?$/) {
        return
    }
    print ".TP"
    print inline(cells[2])
    for (i = 3; i <= count; i++) {
        if (cells[i] != "") {
            if (written && i > 3) {
                print ".br"
            }
            print (count > 3 ? heads[i] ": " : "") inline(cells[i])
            written = 1
        }
    }
    written = 0
}

BEGIN {
    print ".TH " toupper(name) " 1 " date " \"" name " " version "\""
    print ".SH NAME"
    gsub(/-/, "\\-", about)
    print name " \\- " about
    print ".SH SYNOPSIS"
    print ".B " name
    print ".I SCENE"
    print "[\\fIOPTION\\fR...]"
    print ".SH DESCRIPTION"
}

/^```/ {
    heading = 0
    code = !code
    print code ? ".PP\n.RS 4\n.nf" : ".fi\n.RE"
    next
}
code {
    gsub(/\\/, "\\e")
    gsub(/-/, "\\-")
    sub(/^[.']/, "\\\\\\&&")
    print
    next
}
/^\|/ {
    heading = 0
    row($0)
    next
}
{ table = 0 }
/^# / {
    heading = 1
    next
}
/^## / {
    sub(/^## /, "")
    print ".SH \"" toupper(inline($0)) "\""
    heading = 1
    next
}
/^### / {
    sub(/^### /, "")
    print ".SS \"" inline($0) "\""
    heading = 1
    next
}
/^[-*] / {
    heading = 0
    print ".IP \\(bu 2"
    print inline(substr($0, 3))
    next
}
/^[0-9]+\. / {
    heading = 0
    print ".IP " $1 " 4"
    sub(/^[0-9]+\. /, "")
    print inline($0)
    next
}
/^ *$/ {
    if (!heading) {
        print ".PP"
    }
    next
}
{
    heading = 0
    print inline(trim($0))
}
