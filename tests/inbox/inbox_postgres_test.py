"""The same store in PostgreSQL: what the tests of the store and of the pages say holds there, and several workers share it."""

from concurrent.futures import ThreadPoolExecutor

import pytest
import sqlalchemy as sa

import made
from inbox.core import Inbox
from inbox_pages_test import ALL, TestForm, TestPages, evil  # noqa: F401
from inbox_store_test import TestDeletion, TestGrouping, TestIntake, TestSearch, TestStates, titles  # noqa: F401
from postgres import Postgres


@pytest.fixture(scope="module")
def database():
    with Postgres() as it:
        yield it


@pytest.fixture
def config(config, database):
    engine = sa.create_engine(database.url, future=True)
    with engine.begin() as connection:
        connection.execute(sa.text("DROP SCHEMA public CASCADE; CREATE SCHEMA public"))
    engine.dispose()
    config.database = database.url
    return config


@pytest.mark.parametrize("path", ALL)
def test_every_page_is_shown(evil, pages, path):  # noqa: F811
    pages.get(path)


def test_two_workers_at_once_lose_and_double_nothing(box, config):
    """Each report comes to both, so they race for the same rows all the time."""
    other = Inbox(config)
    texts = [
        made.message(made.fault_text((f"f{number % 7}", f"g{number % 3}"), extra=[f"EBX {number:08X}  ECX 00000000"]))
        for number in range(60)
    ]
    with ThreadPoolExecutor(16) as pool:
        answers = list(
            pool.map(
                lambda job: job[0].reports.add_message(job[1]),
                [(worker, text) for text in texts for worker in (box, other)],
            )
        )
    assert sum(new for _, new, _ in answers) == 60
    assert sum(count for _, count in titles(box)) == 60
    assert len(titles(box)) == 21
    other.engine.dispose()
