<?php
// The one page of the upload server: POST files a report, GET lists those received.
declare(strict_types=1);

namespace Wendax;

require __DIR__ . '/../src/refusal.php';
require __DIR__ . '/../src/report_body.php';
require __DIR__ . '/../src/parsed_form.php';
require __DIR__ . '/../src/report_store.php';
require __DIR__ . '/../src/list_page.php';

// What the library looks for in the answer, and not at its very beginning. No refusal may hold it.
const CONFIRMATION = 'Data has uploaded successfully';

ini_set('display_errors', '0');
error_reporting(E_ALL);
set_error_handler(static function (int $level, string $text, string $file, int $line): bool {
    throw new \ErrorException($text, 0, $level, $file, $line);
});

/** The size of the request's body in bytes, as the client tells it. */
function announced_size(): int
{
    return (int) ($_SERVER['CONTENT_LENGTH'] ?? $_SERVER['HTTP_CONTENT_LENGTH'] ?? 0);
}

/** Reads the report that the client sent, as [part => [path, content]]. */
function receive(array $settings): array
{
    if (($_GET['option'] ?? '') !== 'com_mosforms') {
        throw new Refusal(404, 'There is no such form here.');
    }
    $type = $_SERVER['CONTENT_TYPE'] ?? $_SERVER['HTTP_CONTENT_TYPE'] ?? '';
    if (!is_string($type) || !preg_match('~^multipart/form-data;\s*boundary=AaB03x$~i', $type)) {
        throw new Refusal(415, 'A report is multipart/form-data with the boundary AaB03x.');
    }
    $announced = announced_size();
    if ($announced > $settings['max_body']) {
        throw new Refusal(413, 'The report is too large.');
    }
    // The body, its parts, and PHP itself.
    ini_set('memory_limit', (string) (2 * $settings['max_body'] + (64 << 20)));
    $body = stream_get_contents(fopen('php://input', 'rb'), $settings['max_body'] + 1);
    if (strlen($body) > $settings['max_body']) {
        throw new Refusal(413, 'The report is too large.');
    }
    if ($body === '' && $announced > 0) {
        // PHP has taken the body apart itself (enable_post_data_reading is on).
        return parsed_form($_POST, $_FILES);
    }
    return parse_report_body($body);
}

/** What to answer: status, media type and text. */
function handle(): array
{
    $settings = require __DIR__ . '/../src/settings.php';
    $path = parse_url($_SERVER['REQUEST_URI'] ?? '/', PHP_URL_PATH);
    if (!is_string($path) || !preg_match('~(^|/)(index\.php)?$~D', $path)) {
        throw new Refusal(404, 'There is nothing here.');
    }
    $store = new ReportStore($settings);
    switch ($_SERVER['REQUEST_METHOD'] ?? '') {
        case 'POST':
            $id = $store->add(receive($settings));
            return [200, 'text/plain', "Report $id: " . CONFIRMATION . ".\n"];
        case 'GET':
        case 'HEAD':
            return [200, 'text/html', list_page($store->newest(200), $store->used(), $settings)];
        default:
            throw new Refusal(405, 'Only GET and POST are understood here.');
    }
}

try {
    [$status, $type, $text] = handle();
} catch (Refusal $refusal) {
    error_log("Refused with $refusal->status, " . announced_size() . " bytes: {$refusal->getMessage()}");
    [$status, $type, $text] = [$refusal->status, 'text/plain', $refusal->getMessage() . "\n"];
} catch (\Throwable $error) {
    error_log((string) $error);
    [$status, $type, $text] = [500, 'text/plain', "The report could not be stored.\n"];
}
if (!headers_sent()) { // PHP set to show its own warnings may have begun the answer before this script ran.
    http_response_code($status);
    header("Content-Type: $type; charset=utf-8");
    header('Cache-Control: no-store');
    header('X-Content-Type-Options: nosniff');
    header("Content-Security-Policy: default-src 'none'; style-src 'unsafe-inline'; frame-ancestors 'none'");
    if ($status === 405) {
        header('Allow: GET, HEAD, POST');
    }
}
echo $text;
