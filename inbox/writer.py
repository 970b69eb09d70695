"""One thread that writes: what several requests bring at the same moment shares a transaction, and with it statements and the
wait for the disk. Nobody is told of success before that transaction is kept."""

import itertools
import queue
import threading
from concurrent.futures import Future

import sqlalchemy as sa

_MOST_AT_ONCE = 100


class Writer:
    def __init__(self, engine):
        self.engine = engine.execution_options(writes=True)
        self._jobs = queue.SimpleQueue()
        threading.Thread(target=self._run, name="writer", daemon=True).start()

    def do(self, job):
        """Returns job(connection), called in a transaction, or raises what it raised."""
        return self.together(lambda connection, _: [job(connection)], None)

    def together(self, job, item):
        """The same for job(connection, items), which returns the results of all items that are there at the moment."""
        future = Future()
        self._jobs.put((job, item, future))
        return future.result()

    def _run(self):
        while True:
            batch = [self._jobs.get()]
            while len(batch) < _MOST_AT_ONCE and not self._jobs.empty():
                batch.append(self._jobs.get())
            if self._fails(batch):  # one has failed, and the transaction with it: each by itself
                for each in batch:
                    error = self._fails([each])
                    if isinstance(error, sa.exc.DBAPIError):  # another worker was first, or the connection is gone
                        error = self._fails([each])
                    if error:
                        each[2].set_exception(error)

    def _fails(self, batch):
        """Does the jobs in one transaction and tells their results, or returns what one has raised."""
        results = []
        try:
            with self.engine.begin() as connection:
                for job, same in itertools.groupby(batch, lambda each: each[0]):
                    results += job(connection, [item for _, item, _ in same])
        except Exception as error:  # goes to whoever has asked
            return error
        for (_, _, future), result in zip(batch, results):
            future.set_result(result)
        return None
