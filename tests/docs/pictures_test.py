# SPDX-License-Identifier: Apache-2.0
"""Draws texts that do not fit; each must be refused by name."""
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent.parent / "manual"))
import pictures  # noqa: E402


class Texts(unittest.TestCase):
    def setUp(self):
        self.picture = pictures.Picture("test", 200, 100, "A test", "A test")

    def expect_refusal(self, words, *arguments, **options):
        with self.assertRaises(pictures.Crowded) as caught:
            self.picture.text(*arguments, **options)
        self.assertIn(words, str(caught.exception))

    def test_a_text_in_its_place_is_drawn(self):
        self.picture.text(10, 20, "left", room=60)
        self.picture.text(110, 20, "right")
        self.picture.text(10, 40, "below")
        self.assertIn(">below</text>", self.picture.svg())

    def test_a_text_wider_than_its_room_is_refused(self):
        self.expect_refusal("'much too wide' takes", 10, 20, "much too wide", room=40)

    def test_a_text_on_another_is_refused(self):
        self.picture.text(10, 20, "first")
        self.expect_refusal("'second' lies on 'first'", 20, 24, "second")

    def test_a_text_beyond_the_edge_is_refused(self):
        self.expect_refusal("leaves the picture", 150, 20, "beyond the edge")
        self.expect_refusal("leaves the picture", 10, 20, "before the edge", anchor="end")
        self.expect_refusal("leaves the picture", 10, 120, "below")

    def test_texts_are_escaped(self):
        self.picture.text(10, 20, "<Mw> & co")
        self.assertIn("&lt;Mw&gt; &amp; co</text>", self.picture.svg())


if __name__ == "__main__":
    unittest.main()
