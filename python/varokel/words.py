# SPDX-License-Identifier: BSD-3-Clause
"""Words of a text file one by one, with the line of each for messages."""

from __future__ import annotations

from .errors import FileFormatError


class WordReader:
    """Reads blank-separated words; a word that is `glued` to the next one is split off.

    Every failure is a FileFormatError with file, line and what was expected.
    """

    def __init__(self, text: str, name: str, glued: str = "") -> None:
        self._name = name
        self._words: list[tuple[str, int]] = []
        for number, line in enumerate(text.splitlines(), start=1):
            for word in line.split():
                if glued and word != glued and word.startswith(glued):
                    self._words.append((glued, number))
                    word = word[len(glued) :]
                self._words.append((word, number))
        self._at = 0

    def error(self, problem: str) -> FileFormatError:
        """An error at the word that was read last."""
        at = min(max(self._at - 1, 0), len(self._words) - 1)
        return FileFormatError(self._name, self._words[at][1] if self._words else 0, problem)

    def peek(self) -> str:
        """The next word; empty at the end."""
        return self._words[self._at][0] if self._at < len(self._words) else ""

    def next(self, item: str) -> str:
        if self._at >= len(self._words):
            raise self.error(f"the file ends where it should have: {item}")
        self._at += 1
        return self._words[self._at - 1][0]

    def expect(self, word: str) -> None:
        found = self.next(word)
        if found != word:
            raise self.error(f'expected "{word}", found "{found}"')

    def integer(self, item: str) -> int:
        word = self.next(item)
        try:
            return int(word)
        except ValueError:
            raise self.error(f'{item}: expected a whole number, found "{word}"') from None

    def real(self, item: str) -> float:
        word = self.next(item)
        try:
            return float(word)
        except ValueError:
            raise self.error(f'{item}: expected a number, found "{word}"') from None

    def keyword_integer(self, keyword: str) -> int:
        self.expect(keyword)
        return self.integer(keyword)

    def keyword_real(self, keyword: str) -> float:
        self.expect(keyword)
        return self.real(keyword)

    def count(self, keyword: str) -> int:
        value = self.keyword_integer(keyword)
        if value < 0:
            raise self.error(f"{keyword}: expected 0 or more, found {value}")
        return value
