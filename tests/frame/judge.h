// SPDX-License-Identifier: Apache-2.0
// Runs the engine on guarded buffers and holds everything that it answers and writes against the model.
#ifndef KIVO_TESTS_FRAME_JUDGE_H
#define KIVO_TESTS_FRAME_JUDGE_H

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "KivoFrame.h"
#include "frame/model.h"
#include "simd/targets.h"
#include "support/content.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace KivoTest {

// How rows lie one behind the other.
enum class Rows : unsigned { kPacked, kPadded, kUpsideDown, kCount };

// A frame that several plans are tried on.
struct Subject {
  const Model::Format *format = nullptr;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::ptrdiff_t stride = 0;
  bool big_endian = false;
  Content content = Content::kRandom;
  bool nominal = false;  // words keep to their depth
  std::vector<std::uint8_t> bytes;
  Model::Plain plain;
  Placement place;

  // The colours of the plan that was judged last, for the next that asks for the same.
  kivo_options colours_of{};
  bool has_colours = false;
  Model::Colours colours;
};

// A call of the engine, for messages.
struct Case {
  const Subject *subject = nullptr;
  kivo_options options = KIVO_OPTIONS_INIT;
  std::ptrdiff_t stride = 0;
  Placement place;
  unsigned way = 0;

  std::string Text() const;
};

class Judge {
 public:
  Judge(Kivo::Target target, std::uint64_t seed, bool quick);

  bool quick() const { return quick_; }
  Random &random() { return random_; }
  std::size_t runs() const { return runs_; }
  std::size_t failures() const { return failures_; }
  std::size_t refusals() const { return refusals_; }
  std::size_t pairs() const { return pairs_; }

  Subject MakeSubject(const Model::Format &format, std::uint32_t width, std::uint32_t height, Rows rows,
                      bool big_endian);
  // Makes the plan, runs it in one way or another and compares everything.
  void Try(Subject &subject, const kivo_options &options, Rows rows);
  // Compares kivo_sample_range() for a region.
  void TryRange(const Subject &subject, const kivo_options &options);
  // Every U, Y and V of a matrix.
  void TryMatrix(const Model::Format &format);

  void Fail(const std::string &about, const std::string &what);

 private:
  const Model::Colours &ColoursOf(Subject &subject, const Model::Plan &plan);
  void Measured(Subject &subject, const Model::Plan &plan);
  bool CheckPlan(const Case &sample, const Model::Plan &plan, const kivo_plan *made);
  void RunAndCompare(const Case &sample, const Model::Plan &plan, const kivo_plan *made,
                     const std::vector<std::uint8_t> &expected);
  kivo_status RunIt(const Case &sample, const Model::Plan &plan, const kivo_plan *made,
                    const kivo_frame &frame, const kivo_picture &picture);
  void CompareWithConverter(const Case &sample, const std::vector<std::uint8_t> &expected);
  std::ptrdiff_t Stride(Rows rows, std::size_t row_bytes);
  Placement SomePlace();

  Kivo::Target target_;
  Random random_;
  bool quick_;
  GuardedArena src_;
  GuardedArena dst_;
  GuardedArena scratch_;
  std::vector<std::uint8_t> fill_;
  std::vector<std::uint8_t> around_;
  std::set<std::string> reported_;
  std::size_t runs_ = 0;
  std::size_t failures_ = 0;
  std::size_t refusals_ = 0;
  std::size_t pairs_ = 0;
};

// Prints the running call if the process gets a fatal signal, as an access to a guard page raises.
void InstallCrashReport();

}  // namespace KivoTest

#endif  // KIVO_TESTS_FRAME_JUDGE_H
