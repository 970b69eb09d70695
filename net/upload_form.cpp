// The form's texts to the byte, slips included, since the receiving server takes them apart by fixed names; and the
// order in which they and the files follow one another.
#include "net/upload_form.h"

#include <string.h>

// One field of the form up to the end of its name; lines end in a lone LF.
#define FIELD(name) "--AaB03x\ncontent-disposition: form-data; name=\"" name "\""

namespace upload_form {

namespace {

const char* const kNames[part_count] = {"Conversion_Script", "Conversion_Config", "File_for_conversion",
                                        "Conversion_log",    "Screen_copy",       "System_info"};

// NAME stands for the part's name. Kept: the second empty line before "uploadfiles", the comma that ends the file
// types, and one media type for everything.
const char kPartHeader[] = "\n"                       //
    FIELD("NAME[ul_max_file_size]") "\n\n20480\n"     //
    FIELD("NAME[ul_directory]") "\n\n\nuploadfiles\n" //
    FIELD("NAME[ul_file_types]") "\n\n*,*,\n"         //
    FIELD("NAME[ul_file_increment]") "\n\n0\n"        //
    FIELD("NAME[ul_email_file]") "\n\n0\n"            //
    FIELD("NAME") "; filename=\"%s\"\n"               //
                  "Content-type: image/pjpeg\n"       //
                  "Content-Transfer-Encoding: binary\n\n";

const char kConfirmation[] = "Data has uploaded successfully";

} // namespace

const char kPartEnd[] = "\n\n--AaB03x--\n";

// Kept: "Sumbit", and "mosform" twice.
const char kTrailer[] = FIELD("tableid") "\n\n\n" //
    FIELD("mosform") "\n\n3\n"                    //
    FIELD("rowid") "\n\n\n"                       //
    FIELD("Itemid") "\n\n113\n"                   //
    FIELD("act") "\n\nprocessform\n"              //
    FIELD("option") "\n\ncom_mosforms\n"          //
    FIELD("form_id") "\n\n3\n"                    //
    FIELD("Submit") "\n\nSumbit\n"                //
    FIELD("mosform") "\n\n3\n"                    //
                     "--AaB03x\n";

const char kRequestHeaders[] = "Content-Type: multipart/form-data; boundary=AaB03x";

CStdString part_header(Part part, const char* path) {
    CStdString format(kPartHeader);
    format.replace_all("NAME", kNames[part]);
    CStdString header;
    header.format(format.c_str(), path);
    return header;
}

void append_body(CSuperBuffer& body, const char* const (&names)[part_count], const char* const (&paths)[part_count]) {
    CStdString headers[part_count];
    CSuperBuffer::Piece pieces[3 * part_count + 1];
    CSuperBuffer::Piece* next = pieces;
    for (int i = 0; i < part_count; ++i) {
        headers[i] = part_header(static_cast<Part>(i), names[i]);
        (next++)->SetText(headers[i]);
        (next++)->SetFile(paths[i]);
        (next++)->SetText(kPartEnd);
    }
    next->SetText(kTrailer);
    body.Append(pieces, sizeof pieces / sizeof *pieces);
}

bool confirms(const char* response) {
    const char* const found = response ? strstr(response, kConfirmation) : nullptr;
    return found && found != response;
}

} // namespace upload_form
