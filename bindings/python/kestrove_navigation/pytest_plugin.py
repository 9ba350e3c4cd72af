"""The scripted service as a fixture of pytest.

A wheel that is installed brings it to every test of the environment; elsewhere it is asked for in
conftest.py: pytest_plugins = ["kestrove_navigation.pytest_plugin"].
"""

from typing import Iterator

import pytest

from .testing import ScriptedService


@pytest.fixture
def scripted_service() -> Iterator[ScriptedService]:
    """A ScriptedService for the time of the test, which fails at its end where problems() are left."""
    with ScriptedService() as service:
        yield service
        problems = service.problems()
    assert not problems, "the scripted service met what the test had not written down:\n" + \
        "\n".join(problems)
