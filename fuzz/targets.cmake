# NAME and the layers that NAME_fuzz.cpp needs.
wendax_fuzz(base64 DEPENDS compose base)
wendax_fuzz(compose DEPENDS compose base)
wendax_fuzz(format DEPENDS base)
wendax_fuzz(module_list DEPENDS glib)
wendax_fuzz(multipart DEPENDS net base)
wendax_fuzz(save_record DEPENDS glib SOURCES ../glib/gdiplus_stand_in.cpp ../glib/recorded_boxes.cpp)
wendax_fuzz(stream DEPENDS glib)
wendax_fuzz(string DEPENDS base SOURCES ../base/string_model.cpp)
