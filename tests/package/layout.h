// What the public header and the library's own headers say about the report classes, in two translation units of one
// program: the two can't be included together.
#pragma once

struct Field {
    const char* name;
    unsigned offset;
    unsigned size;
};

// The classes' members, and the classes themselves as fields of offset 0.
constexpr int kFieldCount = 14;
extern const Field kPublicFields[kFieldCount];
extern const Field kLibraryFields[kFieldCount];

// What happened to the derived reports, in letters.
extern char calls[64];

// Objects of classes that the public header's unit derives; the other unit calls them.
void* make_derived_report();
void* make_derived_report2();
// Calls each virtual operation through the library's own declaration, and deletes the object.
void use_report(void* report);
void use_report2(void* report);

#define WHOLE(type) {#type, 0, sizeof(type)}
#define FIELD(type, member) {#type "::" #member, offsetof(type, member), sizeof(type::member)}
#define ALL_FIELDS                                                                                                     \
    WHOLE(CCrashReport), FIELD(CCrashReport, m_saved_resources), FIELD(CCrashReport, m_attachments),                   \
        FIELD(CCrashReport, m_exception), WHOLE(CCrashReport2), FIELD(CCrashReport2, m_config_path),                   \
        FIELD(CCrashReport2, m_script_path), FIELD(CCrashReport2, m_file_path), FIELD(CCrashReport2, m_log_path),      \
        FIELD(CCrashReport2, m_screen_path), FIELD(CCrashReport2, m_system_path),                                      \
        FIELD(CCrashReport2, m_saved_resources), FIELD(CCrashReport2, m_attachments),                                  \
        FIELD(CCrashReport2, m_exception)
