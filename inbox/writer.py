"""One thread that writes: what several requests bring at the same moment shares a transaction, and with it the wait for the
disk. Nobody is told of success before that transaction is kept."""

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

    def do(self, order, job):
        """Calls job(connection) in a transaction and returns its result, or raises what it raised. Jobs of one transaction
        run in the order of the texts, so that two workers never wait for each other."""
        future = Future()
        self._jobs.put((order, job, future))
        return future.result()

    def _run(self):
        while True:
            batch = [self._jobs.get()]
            while len(batch) < _MOST_AT_ONCE and not self._jobs.empty():
                batch.append(self._jobs.get())
            batch.sort(key=lambda each: each[0])
            results = self._try(batch)
            for number, (_, job, future) in enumerate(batch):
                if results is None:  # the transaction has failed as a whole: each by itself
                    single = self._try([("", job, future)], alone=True)
                    done, value = single[0]
                else:
                    done, value = results[number]
                future.set_result(value) if done else future.set_exception(value)

    def _try(self, batch, alone=False):
        """[(whether done, result or exception)], or None."""
        results = []
        try:
            with self.engine.begin() as connection:
                for _, job, _future in batch:
                    try:
                        with connection.begin_nested():
                            results.append((True, job(connection)))
                    except sa.exc.OperationalError:
                        raise  # a lost connection, a deadlock, a full disk: no savepoint mends that
                    except Exception as error:  # goes to whoever has asked
                        results.append((False, error))
            return results
        except Exception as error:
            return [(False, error)] if alone else None
