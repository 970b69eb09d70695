# NAME and the layers that NAME_fuzz.cpp needs.
wendax_fuzz(format base)
wendax_fuzz(string base)
