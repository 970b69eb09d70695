// The upload's body, read back by someone who knows only the order of its parts: each part's bytes stand between its
// own header and the place where the next part begins. And the judgement of an answer, against the standard string's.
#include <cstdint>
#include <cstdio>
#include <string>

#include <unistd.h>

#include "net/upload_form.h"
#include "testing/cxx/require.h"

namespace {

using namespace upload_form;

// A folder of this process alone, where the files of one body lie.
struct Folder {
    Folder() { require(mkdtemp(name.data()) != nullptr); }
    ~Folder() {
        for (int i = 0; i < part_count; ++i)
            std::remove(file(i).c_str());
        rmdir(name.c_str());
    }
    std::string file(int part) const { return name + "/" + std::to_string(part); }

    std::string name = "/tmp/multipart_fuzz.XXXXXX";
};
const Folder kFolder;

std::string start_of(int part, const std::string& path) {
    const CStdString header = part_header(static_cast<Part>(part), path.c_str());
    return std::string(header.c_str(), header.length());
}

} // namespace

// Byte 0 says which parts have a file; of the others the bytes are the path of a file that isn't there. Bytes 1 to 5
// say where the rest is cut.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 6)
        return 0;
    std::string rest(reinterpret_cast<const char*>(data) + 6, size - 6);
    const std::size_t found = std::string(rest.c_str()).find("Data has uploaded successfully");
    require(confirms(rest.c_str()) == (found != std::string::npos && found > 0));

    std::string contents[part_count], paths[part_count];
    const char* arguments[part_count];
    for (int i = 0; i < part_count; ++i) {
        const std::size_t length = i + 1 < part_count ? rest.size() * data[i + 1] / 256 : rest.size();
        paths[i] = kFolder.file(i);
        if (data[0] >> i & 1) {
            contents[i] = rest.substr(0, length);
            std::FILE* const file = std::fopen(paths[i].c_str(), "wb");
            require(file && std::fwrite(contents[i].data(), 1, length, file) == length && std::fclose(file) == 0);
        } else {
            paths[i] = length ? paths[i] + "/no/" + rest.substr(0, length).c_str() : "";
        }
        arguments[i] = paths[i].c_str();
        rest.erase(0, length);
    }

    CSuperBuffer buffer;
    append_body(buffer, arguments);
    const std::string body(buffer.GetData(), buffer.GetLength());
    std::size_t at = 0;
    for (int i = 0; i < part_count; ++i) {
        const std::string header = start_of(i, paths[i]);
        require(body.compare(at, header.size(), header) == 0);
        at += header.size();
        require(body.compare(at, contents[i].size(), contents[i]) == 0);
        at += contents[i].size();
        const std::string next =
            kPartEnd + (i + 1 < part_count ? start_of(i + 1, paths[i + 1]) : std::string(kTrailer));
        require(body.compare(at, next.size(), next) == 0);
        at += sizeof "\n\n--AaB03x--\n" - 1;
    }
    require(body.size() - at == std::string(kTrailer).size());
    return 0;
}
