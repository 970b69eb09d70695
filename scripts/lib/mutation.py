"""The parts of scripts/mutate that know nothing of compilers: the list of mutants, applying them, the tree they live in."""

import dataclasses
import pathlib
import tomllib


class BadMutant(Exception):
    """A mutant that can't be used; the message says which and why."""


@dataclasses.dataclass(frozen=True)
class Mutant:
    """One small change to the product. name is FOLDER/WHAT; old stands exactly once in file; tests are names of ctest,
    RING.TEST, in the order to run them within their ring. equivalent says, where nobody could notice, why."""

    name: str
    file: str
    old: str
    new: str
    tests: tuple
    equivalent: str = ""

    @property
    def rings(self):
        """The rings of its tests, each once, in order."""
        return tuple(dict.fromkeys(test.partition(".")[0] for test in self.tests))

    def tests_in(self, ring):
        """Those of its tests that belong to a ring."""
        return [test for test in self.tests if test.startswith(ring + ".")]

    def applied_to(self, text):
        """The text of its file, changed."""
        count = text.count(self.old)
        if count != 1:
            raise BadMutant(f"{self.name}: its text stands {count} times in {self.file}, not once:\n{self.old}")
        return text.replace(self.old, self.new)


def load(folder):
    """The mutants of all the folder's lists, in the order of their names."""
    mutants = {}
    for path in sorted(pathlib.Path(folder).glob("*.toml")):
        for what, entry in tomllib.loads(path.read_text("utf-8")).items():
            name = f"{path.stem}/{what}"
            try:
                mutant = Mutant(name=name, **{**entry, "tests": tuple(entry["tests"])})
            except (KeyError, TypeError) as error:
                raise BadMutant(f"{name}: {error}") from None
            if mutant.old == mutant.new or not mutant.tests:
                raise BadMutant(f"{name}: it changes nothing, or names no test")
            mutants[name] = mutant
    return mutants


def select(mutants, names):
    """The mutants with these names; a folder stands for all of its own, and no name for all there are."""
    chosen = []
    for name in names or sorted({mutant.partition("/")[0] for mutant in mutants}):
        found = [mutant for mutant in mutants.values() if name in (mutant.name, mutant.name.partition("/")[0])]
        if not found:
            raise BadMutant(f"there is no mutant named {name}")
        chosen += [mutant for mutant in found if mutant not in chosen]
    return chosen


def check(mutants, tree, rings):
    """All that is wrong with the mutants over the files of the tree, as texts."""
    wrong = []
    for mutant in mutants:
        wrong += [f"{mutant.name}: there is no ring named {ring}" for ring in mutant.rings if ring not in rings]
        try:
            mutant.applied_to((pathlib.Path(tree) / mutant.file).read_text("utf-8"))
        except BadMutant as error:
            wrong.append(str(error))
        except OSError as error:
            wrong.append(f"{mutant.name}: {error}")
    return wrong


def bring_up_to_date(source, names, copy):
    """Makes the copy hold the named files of the source and, outside its build folder, no others. Only what differs is
    written, so that what was built there stays good."""
    source, copy = pathlib.Path(source), pathlib.Path(copy)
    names = {name for name in names if (source / name).is_file()}
    for path in sorted(copy.rglob("*"), reverse=True):
        name = path.relative_to(copy)
        if name.parts[0] == "build" or "__pycache__" in name.parts:
            continue
        if not path.is_dir() and str(name) not in names:
            path.unlink()
    for name in names:
        write_if_other(copy / name, (source / name).read_bytes(), (source / name).stat().st_mode)


def write_if_other(path, content, mode=None):
    """Writes the file only where its content differs."""
    if not path.is_file() or path.read_bytes() != content:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
    if mode is not None:
        path.chmod(mode)


def rate(outcomes):
    """(killed, counted) of {name: (outcome, ...)}; what does not build counts for nothing."""
    counted = [outcome for outcome, *_ in outcomes.values() if outcome in ("killed", "survived", "equivalent")]
    return counted.count("killed"), len(counted)
