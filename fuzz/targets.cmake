# NAME and the layers that NAME_fuzz.cpp needs.
wendax_fuzz(base64 DEPENDS compose base)
wendax_fuzz(compose DEPENDS compose base)
wendax_fuzz(format DEPENDS base)
wendax_fuzz(string DEPENDS base SOURCES ../base/string_model.cpp)
