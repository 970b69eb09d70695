/* compose_gmime FILE MESSAGE: what bench_compose does, with GMime. */
#include <gmime/gmime.h>
#include <stdio.h>
#include <sys/resource.h>
#include <time.h>

static double now(void) {
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return 1000.0 * (double)time.tv_sec + (double)time.tv_nsec / 1e6;
}

static double peak(void) {
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * (double)usage.ru_maxrss;
}

int main(int count, char** arguments) {
    if (count != 3)
        return 2;
    g_mime_init();
    const double before = peak();
    const double start = now();
    GMimeMessage* message = g_mime_message_new(TRUE);
    g_mime_message_set_subject(message, "Subject", NULL);
    g_mime_message_add_mailbox(message, GMIME_ADDRESS_TYPE_TO, NULL, "who@example.com");
    GMimeMultipart* parts = g_mime_multipart_new_with_subtype("mixed");
    GMimeTextPart* body = g_mime_text_part_new_with_subtype("plain");
    g_mime_text_part_set_text(body, "Body");
    g_mime_multipart_add(parts, (GMimeObject*)body);

    GMimeStream* file = g_mime_stream_file_open(arguments[1], "rb", NULL);
    GMimeStream* out = g_mime_stream_file_open(arguments[2], "wb", NULL);
    if (!file || !out)
        return 1;
    GMimePart* part = g_mime_part_new_with_type("application", "octet-stream");
    GMimeDataWrapper* content = g_mime_data_wrapper_new_with_stream(file, GMIME_CONTENT_ENCODING_DEFAULT);
    g_mime_part_set_content(part, content);
    g_mime_part_set_content_encoding(part, GMIME_CONTENT_ENCODING_BASE64);
    g_mime_part_set_filename(part, "attachment.bin");
    g_mime_multipart_add(parts, (GMimeObject*)part);
    g_mime_message_set_mime_part(message, (GMimeObject*)parts);
    const gboolean written = g_mime_object_write_to_stream((GMimeObject*)message, NULL, out) > 0;
    g_mime_stream_close(out);
    printf("%f\n%.0f\n", now() - start, peak() - before);
    return written ? 0 : 1;
}
