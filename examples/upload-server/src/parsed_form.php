<?php
// For web hosts where PHP can't be kept from taking the body apart itself. Second best: PHP ends a file at the first
// line in it that begins with the boundary.
declare(strict_types=1);

namespace Wendax;

/** The report in PHP's own arrays, as parse_report_body gives it. */
function parsed_form(array $fields, array $files): array
{
    $expected = FORM_FIELDS;
    foreach (PARTS as $part) {
        $expected[$part] = PART_SETTINGS;
    }
    // By content: the order in which PHP lists the fields doesn't matter.
    if ($fields != $expected || array_diff_key($files, $expected) !== []) {
        throw new Refusal(400, 'This is no report.');
    }
    $report = [];
    foreach (PARTS as $part) {
        $report[$part] = parsed_file($part, $files[$part] ?? []);
    }
    return $report;
}

function parsed_file(string $part, array $file): array
{
    $error = $file['error'] ?? null;
    if ($error === UPLOAD_ERR_NO_FILE) {
        return ['', ''];
    }
    if ($error === UPLOAD_ERR_INI_SIZE || $error === UPLOAD_ERR_FORM_SIZE) {
        throw new Refusal(413, "$part is larger than PHP's upload_max_filesize.");
    }
    if ($error !== UPLOAD_ERR_OK || !is_string($file['tmp_name'] ?? null)) {
        throw new Refusal(400, "$part has not arrived whole.");
    }
    $content = file_get_contents($file['tmp_name']);
    // The first of the two line ends after a file stays with it.
    if (!str_ends_with($content, "\n")) {
        throw new Refusal(400, 'This is no report.');
    }
    return [$file['full_path'] ?? $file['name'], substr($content, 0, -1)];
}
