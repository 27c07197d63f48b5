# Makes links of the exported names that stand as code spans in a page of the manual; what is no
# such name in the reference is a broken link, which doxygen reports. The page on the library's
# insides names other things as well. In a code span doxygen takes away a percent sign before a letter.
/^(```|~~~)/ { fenced = !fenced }
fenced || FILENAME ~ /design\.md$/ {
  print
  next
}
{
  out = ""
  text = $0
  gsub(/%[A-Za-z]/, "%&", text)
  while (match(text, /`_*(kivx?|zu)_[A-Za-z0-9_]*`/)) {
    name = substr(text, RSTART + 1, RLENGTH - 2)
    # A prefix of names is none, and neither is the library's own.
    if (name == "kiv_base" || name ~ /_$/) span = "`" name "`"
    else span = "<code>@ref " name " \"" name "\"</code>"
    out = out substr(text, 1, RSTART - 1) span
    text = substr(text, RSTART + RLENGTH)
  }
  print out text
}
