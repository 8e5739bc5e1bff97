"""What is sent over the network is what the cloud gives back, told by tools that aren't ours."""

import unittest

from harness import (JPEG_LS_LOSSLESS, TITLE, EndToEndTest, attributes_of, identity_of, pixels_of, run, send,
                     value_of)


class RoundTrip(EndToEndTest):

    def packed(self, encoder, kind, seed):
        """A file as a modality compresses it, and the one it was made of."""
        [plain] = self.samples(seed=seed, **{kind: 1})
        packed = self.folder / f"{encoder}-{kind}.dcm"
        run(encoder, plain, packed)
        return packed, plain

    def fetched(self, cloud, token, file):
        kept = self.folder / f"fetched-{file.stem}.dcm"
        kept.write_bytes(cloud.fetch(token, *identity_of(file)))
        return kept

    def same_pixels(self, one, other, name):
        first = pixels_of(one, self.folder / "pixels" / name / "sent")
        return first, first == pixels_of(other, self.folder / "pixels" / name / "fetched")

    def test_every_kind_comes_back_with_its_attributes_and_pixels(self):
        # Given
        cloud = self.start_cloud()
        gateway = self.start_gateway(cloud.address)
        gateway.sign_in()
        plain = self.samples(ct=3, mr=2, us=1, us_frames=5, dx=1, colour=2, report=1)
        sources = {file: file for file in plain}
        sources.update([self.packed("dcmcrle", "ct", 101), self.packed("dcmcrle", "colour", 102),
                        self.packed("dcmcjpeg", "mr", 103)])
        compressed = [file for file in sources if file not in plain]

        # When
        run("storescu", "-R", "-aec", TITLE, "127.0.0.1", gateway.port, *plain)
        send(gateway, compressed)
        gateway.await_synced(sources)

        # Then
        token = cloud.token()
        self.assertEqual(set(cloud.instances()), {identity_of(file)[2] for file in sources})
        converted = 0
        for sent, original in sources.items():
            with self.subTest(sent.stem):
                back = self.fetched(cloud, token, sent)
                converted += value_of(back, "0002,0010") == JPEG_LS_LOSSLESS
                self.assertGreater(len(attributes_of(sent)), 10)
                self.assertEqual(attributes_of(sent), attributes_of(back))
                pixels, same = self.same_pixels(original, back, sent.stem)
                self.assertEqual(len(pixels) == 0, sent.stem.startswith("report"))
                self.assertTrue(same, f"the pixels of {sent.stem} differ")
        self.assertGreater(converted, 0)

    def test_the_comparison_tells_one_changed_byte(self):
        # Given
        cloud = self.start_cloud()
        gateway = self.start_gateway(cloud.address)
        gateway.sign_in()
        [sent] = self.samples(ct=1)
        send(gateway, [sent])
        gateway.await_synced([sent])
        back = self.fetched(cloud, cloud.token(), sent)
        decoded = self.folder / "decoded.dcm"
        run("dcmdjpls", back, decoded)
        self.assertTrue(self.same_pixels(sent, decoded, "whole")[1])

        # When: a byte of the last pixel
        content = bytearray(decoded.read_bytes())
        content[-1] ^= 1
        decoded.write_bytes(content)

        # Then
        self.assertFalse(self.same_pixels(sent, decoded, "changed")[1])

        # When: a letter of the patient's name
        run("dcmodify", "-nb", "-m", "0010,0010=Other^Name", back)

        # Then
        self.assertNotEqual(attributes_of(sent), attributes_of(back))


if __name__ == "__main__":
    unittest.main(verbosity=2)
