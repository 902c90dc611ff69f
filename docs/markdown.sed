# What Doxygen takes otherwise than viewers of Markdown do.

# It drops a percent sign before a letter, in code too, unless it is quoted or doubled.
:again
s/(`|[^`"]*[^%`"])%([A-Za-z][^`"]*`)/\1%%\2/
t again

# It numbers the sections; links name them as other viewers do.
/^##+ /{
  h
  s/^#+ (.*)/\L\1/
  s/[^a-z0-9 _-]//g
  s/ /-/g
  s/.*/ {#&}/
  H
  x
  s/\n//
}
s/\]\([^)#:]*#([^)]*)\)/](@ref \1)/g

# It knows headers by its own references, not by links.
s/\]\(include\/([^)]+\.hpp)\)/](@ref \1)/g
s/\[`([^]`]*)`\]\(@ref/[<code>\1<\/code>](@ref/g

# It has no pages for folders and programs: of a link to one, the text stays.
s/\[([^]]+)\]\(([^):.#@]+|[^):#]+\.cpp)\)/\1/g
