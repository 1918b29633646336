# SPDX-License-Identifier: BSD-3-Clause
"""JSON objects with a type."""

from __future__ import annotations

import json
from os import PathLike
from pathlib import Path
from typing import TypeAlias, Union

from .errors import FileFormatError

JsonValue: TypeAlias = Union[None, bool, int, float, str, list["JsonValue"], dict[str, "JsonValue"]]
JsonObject: TypeAlias = dict[str, JsonValue]


def read_json_object(file: str | PathLike[str]) -> JsonObject:
    """The object that a JSON file holds. Raises FileFormatError; OSError."""
    try:
        value: JsonValue = json.loads(Path(file).read_text(encoding="utf-8"))
    except json.JSONDecodeError as error:
        raise FileFormatError(file, error.lineno, f"no JSON: {error.msg}") from error
    except UnicodeDecodeError as error:
        raise FileFormatError(file, 0, f"no UTF-8 text: {error.reason}") from error
    except RecursionError:
        raise FileFormatError(file, 0, "nested deeper than anybody writes it") from None
    if not isinstance(value, dict):
        raise FileFormatError(file, 0, "expected a JSON object")
    return value
