# What Doxygen need not see of a header: copies and destructors that the compiler writes, or must not write,
# need no comment.
/(&\)|~.*)( noexcept)? = (default|delete);$/d
