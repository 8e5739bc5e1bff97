"""The arithmetic of what is measured more than once: medians with their spread, ratios of what was taken in turns, and
when a build counts as slower than another."""

import math
import statistics
from dataclasses import dataclass


def quartiles(values):
    """The lower quartile, the median and the upper one; each lies on or between two of the values."""
    ordered = sorted(values)

    def at(share):
        place = share * (len(ordered) - 1)
        low = math.floor(place)
        high = min(low + 1, len(ordered) - 1)
        return ordered[low] + (ordered[high] - ordered[low]) * (place - low)

    return at(0.25), at(0.5), at(0.75)


def spread(values, digits=0):
    """The median and, of more than one value, the lowest and the highest: "377 (350-391)"."""
    median = f"{statistics.median(values):.{digits}f}"
    return f"{median} ({min(values):.{digits}f}-{max(values):.{digits}f})" if len(values) > 1 else median


def median_ratio(ours, theirs):
    """The median of the ratios of what was taken in turns."""
    return statistics.median(mine / other for mine, other in zip(ours, theirs, strict=True))


@dataclass(frozen=True)
class Comparison:
    """One figure of two builds, taken in turns; less is better."""

    what: str
    bound: float  # ours may be so many times theirs
    ours: list
    theirs: list

    @property
    def ratios(self):
        """Ours by theirs, turn by turn. Beside nothing, nothing is as fast and anything slower."""
        return [mine / other if other > 0 else (1.0 if mine <= 0 else math.inf)
                for mine, other in zip(self.ours, self.theirs, strict=True)]

    @property
    def is_slower(self):
        """True where three quarters of the turns, or more, lie above the bound: not by one bad moment, then."""
        return quartiles(self.ratios)[0] > self.bound
