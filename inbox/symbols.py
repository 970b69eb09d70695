"""PDBs, and programs with symbols of their own, by identity: kept in the database, and what they tell about frames."""

import dataclasses
import json
import pathlib
import tempfile
import threading
import time

import images
import pdbs
import resolver
import sqlalchemy as sa

from inbox import schema

_MOST_CACHED = 200_000
_IDENTITIES = {".pdb": pdbs.read_key, ".exe": images.build, ".dll": images.build}


class Symbols:
    """folder: where they are unpacked for llvm-symbolizer; it may be emptied at any time."""

    def __init__(self, engine, folder):
        self._engine, self._folder = engine, pathlib.Path(folder)
        self._places, self._keys, self._asked, self._lock = {}, set(), 0.0, threading.Lock()

    def add(self, path, writer):
        """Files what tells functions below a path. Returns ([identities that are new], [what is wrong with others])."""
        added, wrong = [], []
        path = pathlib.Path(path)
        files = sorted(path.rglob("*")) if path.is_dir() else [path]
        for file in (file for file in files if file.suffix.lower() in _IDENTITIES and file.is_file()):
            try:
                row = {"key": _IDENTITIES[file.suffix.lower()](file), "name": file.name, "content": file.read_bytes()}
            except (OSError, pdbs.BadPdb) as error:
                wrong.append(f"{file}: {error}")
            else:
                new = row["key"] and writer.do(lambda connection, row=row: _file(connection, row))
                added += [row["key"]] if new else []
        self._asked = 0.0
        return added, wrong

    def frames(self, frames, ask=False):
        """(the frames with what is known about them, {identity: module} of those that a PDB could tell, whether one that is
        here would tell more). With ask it is asked; without, only what has been asked before is looked up."""
        wanted = {frame.key: frame.module for frame in frames if frame.key}
        if ask or time.monotonic() - self._asked > 5:  # another worker may have got a PDB
            with self._engine.connect() as connection:
                self._keys = set(connection.execute(sa.select(schema.symbol.c.key)).scalars())
            self._asked = time.monotonic()
        here = wanted.keys() & self._keys
        more = [self._learn(key, [frame for frame in frames if frame.key == key], ask) for key in here]
        told = []
        for frame in frames:
            places = self._places.get(_at(frame)) if frame.key in here else None
            if not places:
                told.append(frame)
            elif not frame.inlined:  # that one comes again with the function it was inlined into
                for number, (function, file, line) in enumerate(places):
                    inlined = number + 1 < len(places)
                    told.append(dataclasses.replace(frame, function=function, file=file, line=line, inlined=inlined))
        return told, wanted, any(more)

    def _learn(self, key, frames, ask):
        """Whether there is something left to ask."""
        missing = {_at(frame): frame for frame in frames if _at(frame) not in self._places}
        if not missing:
            return False
        with self._engine.connect() as connection:
            rows = connection.execute(sa.select(schema.place).where(schema.place.c.at.in_(list(missing)))).all()
        known = {at: json.loads(said) for at, said in rows}
        asked = {at: frame for at, frame in missing.items() if at not in known}
        if asked and ask:
            said = self._ask(key, asked)
            rows = [{"at": at, "said": json.dumps(each)} for at, each in sorted(said.items())]
            with self._engine.execution_options(writes=True).begin() as connection:
                schema.put(connection, schema.place, rows, said=lambda new: new)
            known.update(said)
        with self._lock:
            if len(self._places) > _MOST_CACHED:
                self._places.clear()
            self._places.update(known)
        return bool(asked) and not ask

    def _ask(self, key, asked):
        """What llvm-symbolizer says about frames of one module: {at: [[function, file, line], ...]}."""
        with self._engine.connect() as connection:
            select = sa.select(schema.symbol.c.content).where(schema.symbol.c.key == key)
            content = connection.execute(select).scalar() or b""
        self._folder.mkdir(parents=True, exist_ok=True)
        with tempfile.NamedTemporaryFile(dir=self._folder, suffix=".pdb") as file:
            file.write(content)
            file.flush()
            path = pathlib.Path(file.name)
            source = path if content.startswith(b"MZ") else pdbs.Pdb(path, key)
            places = resolver.look_up(source, list(asked.values()))
        of = lambda frame: places[resolver.instruction(frame)]
        words = lambda place: [place["FunctionName"], place["FileName"] if place["Line"] else "", place["Line"]]
        return {at: [words(place) for place in of(frame)] for at, frame in asked.items()}


def _at(frame):
    return f"{frame.key}+{frame.offset:X}{'!' if frame.exact else ''}"


def _file(connection, row):
    known = sa.select(schema.symbol.c.key).where(schema.symbol.c.key == row["key"])
    if is_new := not connection.execute(known).first():
        connection.execute(schema.symbol.insert().values(added=int(time.time()), **row))
        waiting = sa.select(schema.wants.c.report_id).where(schema.wants.c.key == row["key"])
        connection.execute(schema.report.update().where(schema.report.c.id.in_(waiting)).values(pending=1))
    return is_new
