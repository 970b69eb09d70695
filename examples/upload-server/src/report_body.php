<?php
// The body of a report, taken apart. The client writes exactly one form (docs/upload-format.md), so everything that
// differs from it in a single byte of the form is no report.
declare(strict_types=1);

namespace Wendax;

/** The parts of a report in the order in which they come. */
const PARTS = [
    'Conversion_Script', 'Conversion_Config', 'File_for_conversion', 'Conversion_log', 'Screen_copy', 'System_info',
];

/** The settings that the client sends along with each part. */
const PART_SETTINGS = [
    'ul_max_file_size' => '20480',
    'ul_directory' => "\nuploadfiles",
    'ul_file_types' => '*,*,',
    'ul_file_increment' => '0',
    'ul_email_file' => '0',
];

/** The form's own fields, which end the body. The client sends "mosform" once more after them. */
const FORM_FIELDS = [
    'tableid' => '', 'mosform' => '3', 'rowid' => '', 'Itemid' => '113', 'act' => 'processform',
    'option' => 'com_mosforms', 'form_id' => '3', 'Submit' => 'Sumbit',
];

const FIELD = "--AaB03x\ncontent-disposition: form-data; name=";
const PART_END = "\n\n--AaB03x--\n";
const AFTER_PATH = "\"\nContent-type: image/pjpeg\nContent-Transfer-Encoding: binary\n\n";

/** What stands before the path of a part. */
function part_start(string $part): string
{
    $text = "\n";
    foreach (PART_SETTINGS as $name => $value) {
        $text .= FIELD . "\"{$part}[$name]\"\n\n$value\n";
    }
    return $text . FIELD . "\"$part\"; filename=\"";
}

function trailer(): string
{
    $text = '';
    foreach (FORM_FIELDS as $name => $value) {
        $text .= FIELD . "\"$name\"\n\n$value\n";
    }
    return $text . FIELD . "\"mosform\"\n\n3\n--AaB03x\n";
}

/**
 * [part => [path, content]] for all parts. A part's content ends where the whole start of the next part follows its
 * end, so that a file may hold boundary lines of its own.
 */
function parse_report_body(string $body): array
{
    $position = expect($body, 0, part_start(PARTS[0]));
    $report = [];
    foreach (PARTS as $number => $part) {
        $path_end = find($body, AFTER_PATH, $position);
        $path = substr($body, $position, $path_end - $position);
        if (strlen($path) > 32768 || strpbrk($path, "\r\n\0") !== false) {
            throw new Refusal(400, "The path of $part is none.");
        }
        $start = $path_end + strlen(AFTER_PATH);
        if ($number + 1 < count(PARTS)) {
            $rest = PART_END . part_start(PARTS[$number + 1]);
            $end = find($body, $rest, $start);
        } else {
            $rest = PART_END . trailer();
            $end = strlen($body) - strlen($rest);
            if ($end < $start) {
                throw new Refusal(400, 'The report is cut off.');
            }
            expect($body, $end, $rest);
        }
        $report[$part] = [$path, substr($body, $start, $end - $start)];
        $position = $end + strlen($rest);
    }
    return $report;
}

/** The position after the text, which must stand there. */
function expect(string $body, int $position, string $text): int
{
    if (substr_compare($body, $text, min($position, strlen($body)), strlen($text)) !== 0) {
        throw new Refusal(400, 'This is no report.');
    }
    return $position + strlen($text);
}

/** The position of the text, which must be there. */
function find(string $body, string $text, int $from): int
{
    $found = strpos($body, $text, $from);
    if ($found === false) {
        throw new Refusal(400, 'The report is cut off.');
    }
    return $found;
}
