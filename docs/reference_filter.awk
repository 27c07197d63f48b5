# Turns a public header into what doxygen reads, so that the headers stay plain C: the opening
# comment becomes the description of a topic named after the file, a comment of the form
# "---- Title ----" opens a topic below it, and any other one describes every declaration up to the
# next blank line. Names of NAMES, the list of exported names, become links.
BEGIN {
  while ((getline line < NAMES) > 0) if (line ~ /^[A-Za-z_]/) exported[line] = 1
}

FNR == 1 {
  family = FILENAME
  sub(/^.*\//, "", family)
  sub(/\.h$/, "", family)
}

# Text that neither Markdown nor doxygen shall take for anything.
function plain(text) {
  gsub(/\\/, "\\\\\\\\", text)
  gsub(/&/, "\\&amp;", text)
  gsub(/"/, "\\\"", text)
  gsub(/</, "\\&lt;", text)
  gsub(/>/, "\\&gt;", text)
  gsub(/@/, "\\@", text)
  gsub(/%/, "\\%", text)
  gsub(/#/, "\\#", text)
  gsub(/\*/, "\\*", text)
  gsub(/:\//, ":<!-- -->/", text)  # no link
  return text
}

# The same with links for exported names.
function linked(text,    out, word) {
  while (match(text, /[A-Za-z_][A-Za-z0-9_]*/)) {
    word = substr(text, RSTART, RLENGTH)
    out = out plain(substr(text, 1, RSTART - 1))
    out = out ((word in exported) ? "\\ref " word " \"" word "\"" : plain(word))
    text = substr(text, RSTART + RLENGTH)
  }
  return out plain(text)
}

# One line of prose, with the code spans that stand in it.
function prose(text,    out, parts, count, i) {
  count = split(text, parts, "`")
  for (i = 1; i <= count; i++) {
    if (i % 2 == 1) out = out linked(parts[i])
    else if (i < count) out = out "<code>" linked(parts[i]) "</code>"
    else out = out "\\`" linked(parts[i])
  }
  return out
}

# The comment in body[first..lines] with its indented pieces as code.
function text_of(first,    out, i, code, after_blank) {
  after_blank = 1
  for (i = first; i <= lines; i++) {
    if (body[i] == "") {
      after_blank = 1
      continue
    }
    if (!code && after_blank && body[i] ~ /^  /) {
      out = out "\n@code{.c}\n"
      code = 1
    } else if (code && body[i] !~ /^  /) {
      out = out "@endcode\n\n"
      code = 0
    } else if (after_blank && i > first) {
      out = out "\n"
    }
    out = out (code ? substr(body[i], 3) : prose(body[i])) "\n"
    after_blank = 0
  }
  return out (code ? "@endcode\n" : "")
}

function close_topic() {
  if (topic_open) print "/** @} */"
  topic_open = 0
}

function open_topic(title,    slug) {
  close_topic()
  slug = tolower(title)
  gsub(/[^a-z0-9]+/, "_", slug)
  topic = family "_" slug
  printf "/** @defgroup %s %s\n@ingroup %s\n@details\n%s@{ */\n", topic, title, family, text_of(2)
  topic_open = 1
}

# What a complete comment is for shows in the line behind it.
function take_comment(    title) {
  described = ""
  if (!opened) {
    opened = 1
    printf "/** @addtogroup %s\n@details\n%s*/\n", family, text_of(1)
  } else if (body[1] ~ /^---- /) {
    title = body[1]
    sub(/^---- /, "", title)
    sub(/ *-*$/, "", title)
    if (title ~ /^[a-z]+ /) title = toupper(substr(title, 1, 1)) substr(title, 2)
    open_topic(title)
  } else {
    pending = text_of(1)
  }
  lines = 0
}

function add_line(text) {
  sub(/^ ?\*?/, "", text)
  sub(/^ /, "", text)
  sub(/ +$/, "", text)
  body[++lines] = text
}

in_comment || /^\/\*/ {
  text = $0
  if (!in_comment) sub(/^\/\*/, " *", text)
  in_comment = text !~ /\*\/$/
  sub(/\*\/$/, "", text)
  if (text !~ /^ ?$/ || in_comment) add_line(text)
  if (!in_comment) take_comment()
  next
}

# A comment that nothing is declared under speaks of its topic.
pending != "" && /^(#.*)?$/ {
  if (topic_open) printf "/** @} */\n/** @addtogroup %s\n@details\n%s@{ */\n", topic, pending
  pending = ""
}
pending != "" {
  described = pending
  pending = ""
}
/^$/ { described = "" }

/^(KIV_API|typedef|enum|static const)/ && described != "" { printf "/** %s*/\n", described }

/^#endif/ && topic_open { last = 1 }

{
  # A comment behind a member belongs to it.
  if (match($0, /[;,{a-zA-Z0-9)] +\/\*/) && $0 !~ /^ *\/\*/) {
    head = substr($0, 1, RSTART + RLENGTH - 3)
    rest = substr($0, RSTART + RLENGTH)
    member_comment = rest !~ /\*\//
    sub(/ *\*\/.*$/, "", rest)
    print head "/**<" prose(rest) (member_comment ? "" : " */")
    next
  }
  if (member_comment) {
    text = $0
    if (text ~ /\*\//) member_comment = 0
    sub(/^ *\* ?/, "", text)
    sub(/ *\*\/.*$/, "", text)
    print prose(text) (member_comment ? "" : " */")
    next
  }
  print
}

END { close_topic() }
