// profile_report: computes once what a report computes, Windows left out, for a profiler that counts instructions
// (scripts/profile). The functions that it is to count begin with part_.
#include <stdio.h>
#include <string.h>

#include <vector>

#include "bench/resample/picture.h"
#include "testing/cxx/fake_host.h"
#include "companions/kobrtl/kobrtl.h"
#include "compose/message_template.h"
#include "net/upload_form.h"
#include "report/report_texts.h"
#include "sysinfo/system_info_text.h"

namespace {

constexpr unsigned kSide = 512, kWidth = 1920, kHeight = 1080;
constexpr unsigned kAttached = 600 << 10;

using Pixels = std::vector<unsigned char>;

fall_test::Image small_picture() {
    fall_test::Image image;
    image.add(kSide, kSide, 32);
    return image;
}

} // namespace

#define PART extern "C" __attribute__((noinline))

PART bool part_scale_screen(const Pixels& screen, const glib::IDEPage& page) {
    const glib::Scale scale(screen.data(), kWidth, kHeight, static_cast<int>(kWidth * 4), 32, nullptr, 0);
    return scale.ScaleTo(page.pixels, kSide, kSide, static_cast<int>(page.row_bytes), glib::Scale::Area) == 1;
}

PART bool part_write_jpeg(fall_test::Image& image, fall_test::Stream& file) {
    return fall_test::save(fall::image_jpg, image, file, glib::JPGSave()) == glib::RCOK;
}

PART void part_texts(report::MailText& text) {
    const char* const section = "\nName: a value that a probe has found\nAnother: one more\nA third: and the last\n";
    const CStdString system = sysinfo::join_sections({section, section, section, section, section, section, section});
    CStdString headers;
    for (unsigned part = 0; part < upload_form::part_count; ++part)
        headers += upload_form::part_header(static_cast<upload_form::Part>(part), "C:\\folder\\a file.dat");
    text = report::mail_text(0, "A Program", nullptr, report::screenshot_note("A Program"), system, headers);
}

PART unsigned part_message(const report::MailText& text, const Pixels& file, const fall_test::Bytes& jpeg) {
    const compose::Attachment first = {"settings.dat", file.data(), static_cast<unsigned>(file.size())};
    const compose::Attachment second = {"screen.jpg", jpeg.data(), static_cast<unsigned>(jpeg.size())};
    CStdString message = compose::message_text(
        {text.subject.c_str(), text.body.c_str(), "support@example.com", "21 Nov 2026", "12:00:00"}, &first);
    compose::append_attachment(message, second);
    return message.length();
}

int main() {
    Pixels screen(kWidth * kHeight * 4), file(kAttached);
    bench::draw_screen(screen.data(), kWidth, kHeight, 32);
    memcpy(file.data(), screen.data(), file.size());
    fall_test::Image image = small_picture();
    fall_test::Stream jpeg;
    if (!part_scale_screen(screen, image.pages[0].record) || !part_write_jpeg(image, jpeg))
        return 1;
    report::MailText text;
    part_texts(text);
    printf("%u bytes of message\n", part_message(text, file, jpeg.bytes));
    return 0;
}
