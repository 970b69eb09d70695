<?php
declare(strict_types=1);

namespace Wendax;

/**
 * Keeps each report in a folder of its own. The names of folders and files are chosen here, never by the client;
 * nothing in the store is ever shown or run. A report appears in one step, whole.
 */
final class ReportStore
{
    private const NAMES = [
        'Conversion_Script' => 'conversion_script.bin',
        'Conversion_Config' => 'conversion_config.bin',
        'File_for_conversion' => 'file_for_conversion.bin',
        'Conversion_log' => 'conversion_log.txt',
        'Screen_copy' => 'screen_copy.jpg',
        'System_info' => 'system_info.txt',
    ];
    private const ID = '/^\d{8}-\d{6}-[0-9a-f]{16}$/D';

    private readonly string $folder;

    public function __construct(private readonly array $settings)
    {
        $this->folder = $settings['store'];
        self::make_folder($this->folder);
        // Should the store lie where a web server shows files after all.
        if (!is_file("$this->folder/.htaccess")) {
            file_put_contents("$this->folder/.htaccess", "Require all denied\n");
        }
    }

    /** Stores [part => [path, content]] and returns the report's name. */
    public function add(array $report): string
    {
        $lock = fopen("$this->folder/.lock", 'c');
        flock($lock, LOCK_EX);
        $this->remove_left_behind();
        $this->check_space(array_sum(array_map(static fn (array $part): int => strlen($part[1]), $report)));
        $id = gmdate('Ymd-His-') . bin2hex(random_bytes(8));
        $new = "$this->folder/.new-$id";
        mkdir($new, 0700);
        try {
            $this->write($new, $report);
            rename($new, "$this->folder/$id");
        } catch (\Throwable $error) {
            $this->remove($new);
            throw $error;
        }
        return $id;
    }

    /** The newest reports: [name => [[part, size], ...]]. */
    public function newest(int $count): array
    {
        $reports = [];
        foreach (array_slice(array_reverse($this->ids()), 0, $count) as $id) {
            $reports[$id] = [];
            foreach (self::NAMES as $part => $name) {
                if (is_file("$this->folder/$id/$name")) {
                    $reports[$id][] = [$part, filesize("$this->folder/$id/$name")];
                }
            }
        }
        return $reports;
    }

    /** What is in the store: the number of reports and their size in bytes. */
    public function used(): array
    {
        $ids = $this->ids();
        $size = 0;
        foreach ($ids as $id) {
            $size += array_sum(array_map(filesize(...), self::files_in("$this->folder/$id")));
        }
        return [count($ids), $size];
    }

    private function ids(): array
    {
        return array_values(preg_grep(self::ID, scandir($this->folder)));
    }

    private function check_space(int $size): void
    {
        [$count, $used] = $this->used();
        if ($count >= $this->settings['max_reports'] || $used + $size > $this->settings['max_total']) {
            throw new Refusal(507, 'There is no room for more reports.');
        }
    }

    /** A part without a path and content has no file. */
    private function write(string $folder, array $report): void
    {
        $listed = [];
        foreach ($report as $part => [$path, $content]) {
            if ($path === '' && $content === '') {
                continue;
            }
            self::write_file($folder . '/' . self::NAMES[$part], $content);
            $listed[] = ['part' => $part, 'file' => self::NAMES[$part], 'size' => strlen($content),
                'path' => self::printable($path)];
        }
        self::write_file("$folder/report.json", json_encode(
            ['received' => gmdate('Y-m-d\TH:i:s\Z'), 'files' => $listed],
            JSON_PRETTY_PRINT | JSON_UNESCAPED_SLASHES | JSON_THROW_ON_ERROR
        ) . "\n");
    }

    /** With those that it lies in. Another request may make any of them at the same moment. */
    private static function make_folder(string $folder): void
    {
        if (is_dir($folder)) {
            return;
        }
        self::make_folder(dirname($folder));
        try {
            mkdir($folder, 0700);
        } catch (\ErrorException $error) {
            if (!is_dir($folder)) {
                throw $error;
            }
        }
    }

    private static function write_file(string $name, string $content): void
    {
        $file = fopen($name, 'xb');
        chmod($name, 0600);
        if (fwrite($file, $content) !== strlen($content) || !fclose($file)) {
            throw new \RuntimeException("$name could not be written");
        }
    }

    /** The client's path says neither its code page nor that it is one: other bytes than plain ASCII as %XX. */
    private static function printable(string $path): string
    {
        return preg_replace_callback('/[^\x20-\x24\x26-\x7E]/', static fn (array $byte): string =>
            sprintf('%%%02X', ord($byte[0])), $path);
    }

    /** Removes what a request that was cut off has left. Called under the lock. */
    private function remove_left_behind(): void
    {
        foreach (preg_grep('/^\.new-/', scandir($this->folder)) as $name) {
            $this->remove("$this->folder/$name");
        }
    }

    private function remove(string $folder): void
    {
        array_map(unlink(...), self::files_in($folder));
        rmdir($folder);
    }

    private static function files_in(string $folder): array
    {
        return array_map(static fn (string $name): string => "$folder/$name", array_diff(scandir($folder), ['.', '..']));
    }
}
