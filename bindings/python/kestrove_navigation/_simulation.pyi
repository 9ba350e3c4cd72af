from typing import Any, Dict, Sequence, Tuple

from numpy import float64
from numpy.typing import NDArray

COLUMNS: Tuple[str, ...]

def drive(line: Sequence[Any], options: Dict[str, Any]) -> Tuple[
    NDArray[float64], Tuple[float, float, float, float, float, float], bool, str]: ...
