<?php
declare(strict_types=1);

namespace Wendax;

/** A size beside its limit, in the largest unit that the limit fills: "0.25 of 4 GiB". */
function share_of(int $size, int $limit): string
{
    $units = ['GiB' => 1 << 30, 'MiB' => 1 << 20, 'KiB' => 1 << 10, 'bytes' => 1];
    $unit = array_key_first(array_filter($units, static fn (int $bytes): bool => $bytes <= $limit)) ?? 'bytes';
    $in_units = static fn (int $bytes): string => (string) round($bytes / $units[$unit], 2);
    return "{$in_units($size)} of {$in_units($limit)} $unit";
}

/**
 * The page that lists [name => [[part, size], ...]] and says how full the store is; $used holds the number of all
 * reports and their size. It shows nothing that a client has written.
 */
function list_page(array $reports, array $used, array $settings): string
{
    $rows = '';
    foreach ($reports as $id => $files) {
        $parts = array_map(static fn (array $file): string => "$file[0]&nbsp;($file[1])", $files);
        $rows .= "<tr><td><code>$id</code></td><td>" . (implode(', ', $parts) ?: 'no files') . "</td></tr>\n";
    }
    $count = count($reports);
    $full = "$used[0] of $settings[max_reports], " . share_of($used[1], $settings['max_total']);
    return <<<HTML
        <!DOCTYPE html>
        <html lang="en">
        <head>
        <meta charset="utf-8">
        <title>Error reports</title>
        <style>body{font-family:sans-serif;margin:2em}td,th{text-align:left;padding:.2em 1em .2em 0}</style>
        </head>
        <body>
        <h1>Error reports</h1>
        <p>The newest reports ($count), each in a folder of this name; sizes in bytes.</p>
        <p>In the store: $full. Once it is full, further reports are refused.</p>
        <table>
        <tr><th>Report</th><th>Files</th></tr>
        $rows</table>
        </body>
        </html>

        HTML;
}
