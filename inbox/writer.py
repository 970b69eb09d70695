"""One thread that writes: what several requests bring at the same moment shares a transaction, and with it the wait for the
disk. Nobody is told of success before that transaction is kept."""

import queue
import threading
from concurrent.futures import Future

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
            if not all(done for done, _ in results):  # one has failed, and the transaction with it: each by itself
                results = [self._try([each])[0] for each in batch]
            for (_, _, future), (done, value) in zip(batch, results):
                future.set_result(value) if done else future.set_exception(value)

    def _try(self, batch):
        """[(whether it is done, its result or the exception)] of jobs that share a transaction."""
        try:
            with self.engine.begin() as connection:
                results = [(True, job(connection)) for _, job, _ in batch]
            return results
        except Exception as error:  # goes to whoever has asked
            return [(False, error)] * len(batch)
