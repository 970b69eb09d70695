// Composes a message of fields and files that the input names, one after the other with a NUL between. The message must
// keep its form whatever the fields hold, and hold what it was given where no braces are involved.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "testing/cxx/base64_reference.h"
#include "compose/message_template.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> texts(1);
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i])
            texts.back() += static_cast<char>(data[i]);
        else
            texts.emplace_back();
    }
    texts.resize(texts.size() < 7 ? 7 : texts.size());
    const compose::MessageFields fields = {texts[0].c_str(), texts[1].c_str(), texts[2].c_str(), "date", "time"};
    const auto file = [&](unsigned i) -> compose::Attachment {
        return {texts[i].c_str(), reinterpret_cast<const unsigned char*>(texts[i + 1].data()),
                static_cast<unsigned>(texts[i + 1].size())};
    };
    const compose::Attachment first = file(3);
    CStdString message = compose::message_text(fields, size % 2 ? &first : nullptr);
    const std::string before = message.c_str();
    const std::string separator = "\r\n------=_NextPart_000_023D_01C25DB8.8402B210\r\n";
    if (before.size() != message.length() || !before.ends_with(separator))
        std::abort();
    if ((texts[0] + texts[1] + texts[2]).find('{') == std::string::npos &&
        (!before.starts_with("To: \"" + texts[2] + "\" \r\nReply-To: \r\nFrom: \r\nSubject: " + texts[0] +
                             "\r\nDate: ") ||
         before.find("\r\n\r\n" + texts[1] + "\r\n" + separator) == std::string::npos))
        std::abort();

    compose::append_attachment(message, file(5));
    const std::string after = message.c_str();
    const base64_reference::Bytes bytes(texts[6].begin(), texts[6].end());
    const std::string body = base64_reference::encoded(bytes, base64::LineBreak::once);
    if (after.size() != message.length() || !after.starts_with(before) ||
        !after.ends_with("\r\n\r\n" + body + separator))
        std::abort();
    return 0;
}
