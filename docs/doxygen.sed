# Turns the comments of a header into those that Doxygen reads.
# The first of a file is about the file.
1s|^// (.*)|/// \1 \\file|
# Those that divide a file are about nothing.
s|^// --- .*||
# In front of what they are about, or behind it and going on below it.
s|^( {0,8})//( \|$)|\1///\2|
s|^( {9,})// |\1///< |
s|([^ /] +)// |\1///< |
# What says that a type is compared or not copied needs no word.
s/^.*operator==.*= default;//
s/^.*= delete;//
# What every struct of the C interface has.
s|^  size_t size;$|&  ///< as VELMORA_INIT sets it|
s|^  void\* self;$|&  ///< handed to every function of the table|
