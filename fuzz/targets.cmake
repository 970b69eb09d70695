# NAME and the layers that NAME_fuzz.cpp needs.
wendax_fuzz(format base)
wendax_fuzz(string base)
wendax_fuzz(base64 compose base)
wendax_fuzz(compose compose base)
