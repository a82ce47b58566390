# Judges the includes of the files that are named, by the tables in the environment: see scripts/check-includes.
# The first input is the list of all files.

function Complain(text) {
    print FILENAME ":" FNR ": " text
    failed = 1
}

# Calls the words of each line of a table rows[first word, other word], and each first word rows[first word].
function ReadTable(name, rows,    lines, words, lineCount, wordCount, i, j) {
    lineCount = split(ENVIRON[name], lines, "\n")
    for (i = 1; i <= lineCount; ++i) {
        wordCount = split(lines[i], words, " ")
        if (wordCount > 0) rows[words[1]]
        for (j = 2; j <= wordCount; ++j) rows[words[1], words[j]]
    }
}

function ReadWords(name, set,    words, count, i) {
    count = split(ENVIRON[name], words)
    for (i = 1; i <= count; ++i) set[words[i]]
}

# The folder with a line in the table that a file belongs to.
function FolderOf(file) {
    while (sub("/[^/]*$", "", file)) if (file in mayInclude) return file
    return ""
}

function Allowed(file, header,    from, to) {
    from = FolderOf(file)
    to = FolderOf(header)
    if (file in isLayout) return to == "base" || header in isLayout
    if (from == to || (from, "*") in mayInclude || (from, to) in mayInclude) return 1
    return (from, "LAYOUTS") in mayInclude && header in isLayout
}

# Follows the includes from a header on; path is the way there.
function FollowIncludes(header, path,    headers, count, i) {
    if (followed[header] == "wholly") return
    if (followed[header] == "partly") {
        print "circle:" path " " header
        failed = 1
        return
    }
    followed[header] = "partly"
    count = split(includes[header], headers)
    for (i = 1; i <= count; ++i) FollowIncludes(headers[i], path " " header)
    followed[header] = "wholly"
}

BEGIN {
    ReadTable("folders", mayInclude)
    ReadWords("layouts", isLayout)
    ReadWords("kernel_folders", isKernelFolder)
    ReadTable("kernel_files", kernelFile)
}

FILENAME == "-" || FILENAME == "" {
    exists[$0]
    if (FolderOf($0) == "") {
        print $0 ": its folder has no line in the table"
        failed = 1
    }
    next
}

/^[ \t]*#[ \t]*include[ \t]*"/ {
    split($0, parts, "\"")
    header = parts[2]
    if (!(header in exists)) Complain("no file of the project, seen from its root: " header)
    else if (!Allowed(FILENAME, header)) Complain("may not include " header)
    includes[FILENAME] = includes[FILENAME] " " header
}

/^[ \t]*#[ \t]*include[ \t]*</ {
    split($0, parts, "[<>]")
    header = parts[2]
    if ((header !~ /\.h$/ || header ~ /^fmt\//) && header != "csignal") next
    if (FolderOf(FILENAME) in isKernelFolder || (FILENAME, header) in kernelFile) next
    Complain("is no place for the system's header " header)
}

END {
    for (file in exists) if (file ~ /\.h$/) FollowIncludes(file, "")
    exit failed
}
