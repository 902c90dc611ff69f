# What Doxygen takes otherwise than viewers of Markdown do.

# It drops a percent sign before a letter, in code too, unless it is quoted or doubled.
:again
s/(`|`[^`"]*[^%`"])%([A-Za-z][^`"]*`)/\1%%\2/
t again

# It knows the sections of no page but the one that the link is in, so that a link to a section of
# another page leads to its beginning.
s/\]\(([^)#]+\.md)#[^)]*\)/](\1)/g

# It knows headers by its own references, not by links.
s/\]\(include\/([^)]+\.hpp)\)/](@ref \1)/g

# It has no pages for folders and programs: of a link to one, the text stays.
s/\[([^]]+)\]\(([^):.#]+|[^):#]+\.cpp)\)/\1/g
