// Expected bytes, written by hand in text files: tests/golden/<concept>/<name>.golden.
//
//   # comment
//   size 1020
//   0    00 00 00 01           message version
//   8    "policy-1" 00         policy name
//   skip 640 8  address        bytes that differ from run to run
//   rest 00
//
// `size` comes first. A field line is a decimal offset, the field's bytes (hex pairs, texts in
// double quotes, blanks between them as one likes but never two) and, behind two or more blanks,
// the field's name. `skip <offset> <length>  <name>` leaves bytes out of the comparison. `rest
// <hex>` gives every byte that no line describes its value; without it every byte must be
// described. Fields may come in any order and may not overlap. A mistake in a file fails the test
// that reads it and names the line.
#ifndef TESTS_SUPPORT_GOLDEN_H
#define TESTS_SUPPORT_GOLDEN_H

#include <gtest/gtest.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace test_support {

// One field of a vector.
struct GoldenField {
  std::size_t offset;
  std::size_t length;
  std::string name;
  bool skipped;  // its bytes are not compared
};

// A vector as it was read.
struct GoldenVector {
  std::vector<std::byte> bytes;  // skipped bytes are 0
  std::vector<GoldenField> fields;
  std::vector<std::string> errors;  // "line 3: ...": mistakes in the text, empty for a good one
};

// Reads a vector from its text.
GoldenVector parseGolden(std::string_view text);

// Reads tests/golden/<name>; a file that cannot be read is one error.
GoldenVector readGolden(const std::string &name);

// Compares bytes with a vector. The failure's message names offset, field, expected and actual
// bytes of each field that differs.
testing::AssertionResult matchesVector(std::span<const std::byte> actual,
                                       const GoldenVector &expected);

// Returns the bytes of tests/golden/<name>, for a test that needs them as input. Mistakes in the
// file fail the current test; the result is then empty.
std::vector<std::byte> golden(const std::string &name);

// Compares bytes with tests/golden/<name>: EXPECT_TRUE(matchesGolden(packet, "policy/add.golden")).
testing::AssertionResult matchesGolden(std::span<const std::byte> actual, const std::string &name);

}  // namespace test_support

#endif  // TESTS_SUPPORT_GOLDEN_H
