// SPDX-License-Identifier: Apache-2.0
// Runs converters on guarded buffers and compares every byte with the reference.
#ifndef KIVO_TESTS_CHECKKERNEL_CHECK_H
#define KIVO_TESTS_CHECKKERNEL_CHECK_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "checkkernel/reference.h"
#include "support/content.h"
#include "support/converters.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace KivoTest {

// One call of one function.
struct Case {
  std::string function;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t shift = 0;
  Content content = Content::kRandom;
  std::size_t pixel_bytes = 1;  // of the destination, to name the first wrong pixel

  Placement src;
  Placement dst;
  bool stream = false;

  std::string Text() const;
};

class Check {
 public:
  Check(std::uint64_t seed, bool quick);

  bool quick() const { return quick_; }
  Random &random() { return random_; }
  std::size_t runs() const { return runs_; }
  std::size_t failures() const { return failures_; }

  // A converter on a frame of its own layout, in every placement and store policy.
  void Convert(const Converter &converter, std::uint32_t width, std::uint32_t height, std::uint32_t shift,
               Content content);

  // Any call: fills the buffers, runs it in every placement and store policy and compares with what reference
  // writes. A status other than success is a failure.
  using Call = std::function<CamUtlStatus(std::uint8_t *dst, const std::uint8_t *src)>;
  void Compare(Case sample, const std::vector<std::uint8_t> &source, std::size_t dst_bytes,
               const Call &reference, const Call &tested);

  // The same in one placement and store policy, for large exhaustive inputs.
  void Single(const Case &sample, const std::vector<std::uint8_t> &source, std::size_t dst_bytes,
              const Call &reference, const Call &tested);

  // For checks with buffers of their own: counts a call, names it if it crashes, reports what is wrong with
  // it.
  void Run(const Case &sample, const std::function<void()> &call);
  void Fail(const Case &sample, const std::string &what);

  // The contents in turn, so that neighbouring sizes get different ones.
  Content NextContent();

 private:
  void Expect(const std::vector<std::uint8_t> &source, std::size_t dst_bytes, const Call &reference);
  void RunOnce(const Case &sample, const std::vector<std::uint8_t> &source, const Call &tested);

  Random random_;
  bool quick_;
  GuardedArena src_;
  GuardedArena dst_;
  std::vector<std::uint8_t> fill_;      // what the destination and its surroundings hold before a call
  std::vector<std::uint8_t> expected_;  // the destination after the call
  std::size_t fill_offset_ = 0;
  std::size_t runs_ = 0;
  std::size_t failures_ = 0;
  unsigned next_content_ = 0;
};

// One group of checks, selected by --family.
struct Plan {
  const char *name;
  void (*run)(Check &check);
};

const std::vector<Plan> &AllPlans();

// The plans that have a file of their own.
void CheckRows(Check &check);
void CheckUnpack(Check &check);
void CheckPackedMono(Check &check);
void CheckPlanes(Check &check);
void CheckHalf(Check &check);
void CheckRange(Check &check);
void CheckPicture(Check &check);
void CheckPictureExhaustive(Check &check);
void CheckColour(Check &check);
void CheckYuvFrames(Check &check);
void CheckYuvFramesExhaustive(Check &check);

// Prints the running call if the process gets a fatal signal, as an access to a guard page raises.
void InstallCrashReport();

}  // namespace KivoTest

#endif  // KIVO_TESTS_CHECKKERNEL_CHECK_H
