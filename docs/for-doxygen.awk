# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# Marks the comments of a header for doxygen.
#  - The comment that begins with the file's name is the file's.
#  - A comment above a type is the type's; above functions, that of the first and of those behind it, up to an empty line,
#    whose names begin with the same verb.
#  - A comment behind a field or value is its own.
#  - Functions without a comment do what the conventions of common.h say.
# The text of a comment, as text: no tags, no emphasis.
function plain(text) {
  gsub(/_?</, "\\\\&", text)
  gsub(/\\_</, "\\_\\<", text)
  gsub(/>_/, ">\\_", text)
  gsub(/\*/, "\\*", text)
  sub(/\\\*\/$/, "*/", text)
  return text
}
function mark(line) {
  if (line ~ /^\/\*/) return "/**" plain(substr(line, 3))
  if (line ~ /^ \*\/$/) return line
  return line ~ /^ \*/ ? " *" plain(substr(line, 3)) : plain(line)
}
function verb_of(line) {
  if (!match(line, /(FIB6?_DB_|VRF_|UFIB_DB_|db_|fibdb_)[A-Za-z][a-z]*/)) return line
  return substr(line, RSTART, RLENGTH)
}
function close_group() { if (grouped) print "/** @} */"; grouped = 0 }

/SPDX-/ { next }
!begun && /^\/\* [a-z_]+\/[a-z_]+\.h: / {
  begun = in_file = 1
  print "/** @file"
  sub(/^\/\* [a-z_]+\/[a-z_]+\.h: /, " * ")
  print mark($0)
  if (/\*\/$/) in_file = 0
  next
}
in_file { print mark($0); if (/\*\//) in_file = 0; next }

# Comments that stand alone.
/^\/\*/ {
  close_group()
  comment = mark($0)
  in_comment = !/\*\//
  next
}
in_comment { comment = comment "\n" mark($0); in_comment = !/\*\//; next }

/^$/ { close_group(); comment = ""; print; next }
/^(#|extern "C"|}$)/ { if (comment != "") comment = ""; print; next }

# The first line of a type or a function.
depth == 0 && !continued && /^FIBDB_API/ {
  verb = verb_of($0)
  if (comment != "" || verb != last_verb) close_group()
  if (!grouped) {
    print "/** @{ */"
    print comment == "" ? "/** As the conventions of common.h say. */" : comment
    grouped = 1
  }
  last_verb = verb
  comment = ""
}
depth == 0 && !continued && /^(typedef|enum|struct)/ {
  close_group()
  if (comment != "") print comment
  comment = ""
}
{
  # Behind a field or a value.
  behind = depth > 0 ? index($0, "/* ") : 0
  print behind ? substr($0, 1, behind - 1) "/**< " plain(substr($0, behind + 3)) : $0
  open = gsub(/{/, "{")
  shut = gsub(/}/, "}")
  depth += open - shut
  continued = depth == 0 && !/;/
}
