"""Full-text search: which words a report has, and which reports have them. One of the places that tell databases apart."""

import re

import sqlalchemy as sa

from inbox import schema

_MOST_WORDS = 400


def words_of(*texts):
    """The different words in the texts, in lower case: letters, digits and underscores."""
    return list(dict.fromkeys(word[:60] for text in texts for word in re.findall(r"\w+", text.lower())))[:_MOST_WORDS]


def add(connection, words):
    """words: those of each report, by its id."""
    if connection.dialect.name == "sqlite":
        insert, words = "(:id, :words)", {each: " ".join(found) for each, found in words.items()}
    else:
        insert = "(:id, array_to_tsvector(:words))"
    rows = [{"id": each, "words": found} for each, found in words.items()]
    schema.run(connection, sa.text(f"INSERT INTO search(rowid, words) VALUES {insert}"), rows)


def remove(connection, report_ids):
    connection.execute(sa.text("DELETE FROM search WHERE rowid = :id"), [{"id": each} for each in report_ids])


def condition(dialect, query):
    """An SQL condition on report.id for the reports that have every word of the query, as a word's beginning. None where
    the query has no words."""
    found = words_of(query)[:20]
    if not found:
        return None
    if dialect == "sqlite":
        match, asked = "search MATCH :asked", " ".join(f'"{word}"*' for word in found)
    else:
        match, asked = "words @@ CAST(:asked AS tsquery)", " & ".join(f"'{word}':*" for word in found)
    return sa.text(f"report.id IN (SELECT rowid FROM search WHERE {match})").bindparams(asked=asked)
