"""The services for tests as fixtures of pytest.

A wheel that is installed brings it to every test of the environment; elsewhere it is asked for in
conftest.py: pytest_plugins = ["kestrove_navigation.pytest_plugin"].
"""

from typing import Iterator

import pytest

from .testing import DrivingService, ScriptedService


@pytest.fixture
def scripted_service() -> Iterator[ScriptedService]:
    """A ScriptedService for the time of the test, which fails at its end where problems() are left."""
    with ScriptedService() as service:
        yield service
        problems = service.problems()
    assert not problems, "the scripted service met what the test had not written down:\n" + \
        "\n".join(problems)


@pytest.fixture
def driving_service(request: pytest.FixtureRequest) -> Iterator[DrivingService]:
    """A DrivingService for the time of the test, with the options of the test's mark, if it has one:
    @pytest.mark.driving(speed=2.5, seed=7)."""
    mark = request.node.get_closest_marker("driving")
    with DrivingService(**(mark.kwargs if mark else {})) as service:
        yield service


def pytest_configure(config: pytest.Config) -> None:
    """Makes the mark known."""
    config.addinivalue_line("markers", "driving(**options): what driving_service starts with")
