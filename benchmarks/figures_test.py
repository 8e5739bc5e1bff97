"""What the benchmarks reckon from what they have measured."""

import math
import unittest

from bench import as_json
from figures import Comparison, quartiles, spread
from rig import Row
from slow_link import FIRST_WINDOW, LARGEST_WINDOW, Lane, Window


def comparison(ours, theirs, bound=1.1):
    return Comparison("a figure", bound, ours, theirs)


class FiguresTest(unittest.TestCase):
    def test_quartiles_lie_on_values_or_between_two(self):
        self.assertEqual(quartiles([5, 1, 4, 2, 3]), (2, 3, 4))
        self.assertEqual(quartiles([1, 2, 3, 4]), (1.75, 2.5, 3.25))
        self.assertEqual(quartiles([7]), (7, 7, 7))

    def test_spread_names_the_median_and_the_extremes(self):
        self.assertEqual(spread([391.2, 350.4, 377.0]), "377 (350-391)")
        self.assertEqual(spread([1.5, 2.25], 2), "1.88 (1.50-2.25)")

    def test_spread_of_one_value_is_that_value(self):
        self.assertEqual(spread([1.27], 1), "1.3")


class ComparisonTest(unittest.TestCase):
    def test_ratios_are_taken_turn_by_turn(self):
        # The machine became half as fast meanwhile: for both, and so for neither.
        self.assertEqual(comparison([10, 20, 40], [10, 20, 40]).ratios, [1, 1, 1])

    def test_what_is_slower_in_each_turn_counts(self):
        self.assertTrue(comparison([12, 24, 12.5, 13, 12], [10, 20, 10, 10, 10]).is_slower)

    def test_what_is_slower_within_the_bound_does_not(self):
        self.assertFalse(comparison([10.9, 10.9, 10.9], [10, 10, 10]).is_slower)

    def test_one_bad_turn_is_not_slower(self):
        self.assertFalse(comparison([10, 10, 90, 10, 10], [10, 10, 10, 10, 10]).is_slower)

    def test_a_median_above_the_bound_within_the_spread_is_not_slower(self):
        self.assertFalse(comparison([10, 10, 12, 12, 12], [10, 10, 10, 10, 10]).is_slower)

    def test_what_is_faster_is_not_slower(self):
        self.assertFalse(comparison([5, 5, 5], [10, 10, 10]).is_slower)

    def test_too_short_to_be_measured_is_as_fast(self):
        self.assertEqual(comparison([0, 1], [0, 0]).ratios, [1, math.inf])

    def test_turns_that_lack_a_partner_are_refused(self):
        with self.assertRaises(ValueError):
            _ = comparison([1, 2], [1]).ratios


class SlowLinkTest(unittest.TestCase):
    def test_bytes_take_the_time_of_their_number_and_of_the_way(self):
        self.assertAlmostEqual(Lane(1000, 0.25).arrival(500, 10), 10.75)

    def test_what_comes_later_waits_for_what_is_on_the_lane(self):
        lane = Lane(1000, 0.25)
        lane.arrival(500, 10)

        self.assertAlmostEqual(lane.arrival(100, 10.1), 10.85)
        self.assertAlmostEqual(lane.arrival(100, 20), 20.35)
        self.assertEqual(lane.carried, 700)

    def test_a_window_doubles_with_each_round_trip(self):
        window = Window()
        window.sent(FIRST_WINDOW, 0)
        self.assertEqual(window.room(0.01), 0)

        window.acknowledged(FIRST_WINDOW, 0.05)

        self.assertEqual(window.room(0.05), 2 * FIRST_WINDOW)

    def test_a_window_has_an_end(self):
        window = Window()
        for _ in range(2):
            window.sent(LARGEST_WINDOW, 0)
            window.acknowledged(LARGEST_WINDOW, 0.05)

        self.assertEqual(window.room(0.05), LARGEST_WINDOW)

    def test_a_connection_that_rested_starts_anew(self):
        window = Window()
        window.sent(1000, 0)
        window.acknowledged(1000, 0.05)

        self.assertEqual(window.room(0.1), FIRST_WINDOW + 1000)
        self.assertEqual(window.room(1), FIRST_WINDOW)


class ResultsTest(unittest.TestCase):
    def test_a_row_is_kept_with_all_that_was_measured_for_it(self):
        row = Row("receive", "377", "peer 180", "2.09", ">= 1.8", {"ours": [350.0, 377.0, 391.0]})

        kept = as_json([(row, "0.5-0.8")], {"rounds": 3})

        self.assertEqual(kept["rounds"], 3)
        self.assertEqual(kept["rows"], [{"what": "receive", "ours": "377", "beside": "peer 180", "ratio": "2.09",
                                         "goal": ">= 1.8", "load": "0.5-0.8",
                                         "measured": {"ours": [350.0, 377.0, 391.0]}}])


if __name__ == "__main__":
    unittest.main()
