// SPDX-License-Identifier: Apache-2.0
// Before PrepareLUT() has run. Nothing in this program calls it except in a child process of its own.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "camutl/luts.h"
#include "support/unit.h"

namespace KivoTest {
namespace {

template <typename Table>
bool AllZero(const Table &table) {
  const auto *const bytes = reinterpret_cast<const std::uint8_t *>(&table);
  return std::all_of(bytes, bytes + sizeof table, [](std::uint8_t byte) { return byte == 0; });
}

TEST(Unprepared, TablesAreZeroAndNotReady) {
  EXPECT_FALSE(Kivo::s_bLUTReady.load());
  EXPECT_TRUE(AllZero(Kivo::auiMono2BGRA));
  EXPECT_TRUE(AllZero(Kivo::auiYUVC_UV));
  EXPECT_TRUE(AllZero(Kivo::auiYUV2G));
  EXPECT_TRUE(AllZero(Kivo::aucYUV2G));
  EXPECT_TRUE(AllZero(Kivo::auiYV2R));
  EXPECT_TRUE(AllZero(Kivo::aucYV2R));
  EXPECT_TRUE(AllZero(Kivo::aucYU2B));
}

TEST(Unprepared, TableDrivenConvertersRefuseAndOthersConvert) {
  ForEachTarget([] {
    for (const Converter &converter : AllConverters()) {
      SCOPED_TRACE(converter.name);
      const Bytes source(8 * 8 * 6, 0x42);
      Bytes dst(8 * 8 * 4, kUntouched);
      const CamUtlStatus status = converter(dst.data(), source.data(), 8, 8, 2);
      if (converter.needs_tables) {
        EXPECT_EQ(status, CAMUTL_STS_NOT_INITIALIZED);
        EXPECT_EQ(dst, Bytes(8 * 8 * 4, kUntouched));
      } else {
        Bytes expected(8 * 8 * 4, kUntouched);
        Reference::Convert(converter, expected.data(), source.data(), 8, 8, 2);
        EXPECT_EQ(status, CAMUTL_STS_SUCCESS);
        EXPECT_EQ(dst, expected);
      }
    }
  });
}

TEST(Unprepared, PointersAreCheckedBeforeTheTablesAndTheTablesBeforeTheSize) {
  std::uint32_t word = 5;
  const std::uint8_t src[16] = {};
  for (const Converter &converter : AllConverters()) {
    EXPECT_EQ(converter(nullptr, src, 1, 1), CAMUTL_STS_INVALID_PARAMETER) << converter.name;
    EXPECT_EQ(converter(&word, nullptr, 1, 1), CAMUTL_STS_INVALID_PARAMETER) << converter.name;
    EXPECT_EQ(converter(nullptr, nullptr, 1, 1), CAMUTL_STS_INVALID_PARAMETER) << converter.name;
    const CamUtlStatus empty = converter.needs_tables ? CAMUTL_STS_NOT_INITIALIZED : CAMUTL_STS_SUCCESS;
    EXPECT_EQ(converter(&word, src, 0, 1), empty) << converter.name;
    EXPECT_EQ(converter(&word, src, 1, 0), empty) << converter.name;
  }
  EXPECT_EQ(word, 5u);
}

TEST(Unprepared, ConvImagePassesTheRefusalOn) {
  std::uint32_t dst[2] = {5, 5};
  const std::uint8_t src[2] = {1, 2};
  EXPECT_EQ(ConvImage(OUTPUT_BGRA, 0x01080001, false, dst, src, 2, 1), CAMUTL_STS_NOT_INITIALIZED);
  EXPECT_EQ(dst[0], 5u);
  EXPECT_EQ(ConvImage(OUTPUT_BGR, 0x01080001, false, dst, src, 2, 1), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(dst[0] & 0xFFFFFFu, 0x010101u);
}

TEST(Unprepared, ModeStartsAtStandard) {
  EXPECT_EQ(GetBGRAConverter(0x01080008, true), &ConvByrGR8ToBGRA);
}

// 0 if everything holds after the tables have been filled in this process, which must be a child.
int AfterPreparing() {
  if (PrepareLUT() != CAMUTL_STS_SUCCESS) return 1;
  if (!Kivo::s_bLUTReady.load()) return 2;
  std::uint32_t word = 0;
  const std::uint8_t grey = 0x7F;
  if (ConvMono8ToBGRA(&word, &grey, 1, 1) != CAMUTL_STS_SUCCESS || word != 0xFF7F7F7Fu) return 3;
  return 0;
}

TEST(Unprepared, PreparingOpensTheConverters) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) _exit(AfterPreparing());
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_FALSE(Kivo::s_bLUTReady.load());
}

}  // namespace
}  // namespace KivoTest
