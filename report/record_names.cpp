// The record may have been changed by hand: a name counts only if it ends within its field and is plain text.
#include "report/destinations.h"

const char* record_name(const char* field, unsigned size, const char* otherwise) {
    for (unsigned i = 0; i < size; ++i) {
        const auto letter = static_cast<unsigned char>(field[i]);
        if (letter == 0 && i > 0)
            return field;
        if (letter < ' ' || letter == '%')
            break;
    }
    return otherwise;
}

report::Names record_names(const Destinations& record) {
    const report::Names built_in;
    return {record_name(record.product, sizeof record.product, built_in.product),
            record_name(record.company, sizeof record.company, built_in.company),
            record_name(record.program, sizeof record.program, built_in.program)};
}

HostApplication record_application(const Destinations& record) {
    const HostApplication built_in;
    return {record_name(record.product, sizeof record.product, built_in.name),
            record_name(record.program, sizeof record.program, built_in.file)};
}
