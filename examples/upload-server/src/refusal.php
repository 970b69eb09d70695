<?php
declare(strict_types=1);

namespace Wendax;

/** A request that is answered with a status other than 200 and this one sentence. */
final class Refusal extends \RuntimeException
{
    public function __construct(public readonly int $status, string $sentence)
    {
        parent::__construct($sentence);
    }
}
