<?php
// What the server's owner may change, here or by environment variables. Sizes in bytes.
declare(strict_types=1);

namespace Wendax;

$number = static fn (string $name, int $default): int => (int) (getenv($name) ?: $default);

return [
    // Where the reports go. It must lie outside the folder that the web server shows.
    'store' => getenv('UPLOAD_STORE') ?: __DIR__ . '/../reports',
    // One report. Reading it takes twice as much memory, which the script allows itself.
    'max_body' => $number('UPLOAD_MAX_BODY', 64 << 20),
    // All reports together; what comes beyond is refused until someone clears the store.
    'max_reports' => $number('UPLOAD_MAX_REPORTS', 1000),
    'max_total' => $number('UPLOAD_MAX_TOTAL', 4 << 30),
];
