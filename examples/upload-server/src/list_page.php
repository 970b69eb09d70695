<?php
declare(strict_types=1);

namespace Wendax;

/** The page that lists [name => [[part, size], ...]]. It shows nothing that a client has written. */
function list_page(array $reports): string
{
    $rows = '';
    foreach ($reports as $id => $files) {
        $parts = array_map(static fn (array $file): string => "$file[0]&nbsp;($file[1])", $files);
        $rows .= "<tr><td><code>$id</code></td><td>" . (implode(', ', $parts) ?: 'no files') . "</td></tr>\n";
    }
    $count = count($reports);
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
        <table>
        <tr><th>Report</th><th>Files</th></tr>
        $rows</table>
        </body>
        </html>

        HTML;
}
