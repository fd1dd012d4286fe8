#include "neutral/neutral_stream.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "support/memory_files.h"
#include "support/record_script.h"
#include "support/reference_reals.h"

namespace mod2neu {
namespace {

constexpr const char* kPath = "/memory/wing.neu";

// The bytes that one write takes at most.
constexpr std::size_t kBlock = std::size_t{512} * 1024;

class NeutralStreamTest : public ::testing::Test {
  protected:
    ~NeutralStreamTest() override {
        CloseNeutralStream();
        SetNeutralContext(nullptr);
    }

    // What `put` writes into a new file.
    template <class Put>
    std::string Written(Put put) {
        EXPECT_TRUE(OpenNeutralStream(kPath, false));
        put();
        EXPECT_TRUE(CloseNeutralStream());
        EXPECT_EQ(files.OpenHandles(), 0U);
        return files.Bytes(kPath);
    }

    MemoryFiles files;
};

TEST_F(NeutralStreamTest, WritesFramesNumbersAndTexts) {
    std::string wanted = "   -1\r\n     5\r\n   -1\r\n   -1\r\n1234567\r\n";
    NeutralWriteContext context = {.realDigits = 12, .realWidth = 19};
    SetNeutralContext(&context);
    const std::string text = Written([&] {
        BeginBlock(5);
        EndBlock();
        BeginBlock(1234567);
        for (int byte = 0; byte < 256; ++byte) {
            PutByte(static_cast<std::uint8_t>(byte));
            PutBool(static_cast<std::uint8_t>(byte));
            wanted += Cat(byte, byte == 0 ? ",0," : ",1,");
        }
        std::vector<std::int64_t> values = {2147483647, -2147483648};
        for (std::int64_t power = 1; power <= 1000000000; power *= 10) {
            values.insert(values.end(), {power - 1, power, -power, 2 * power, -9 * power / 8});
        }
        std::mt19937 random(2);
        for (int i = 0; i < 100000; ++i) {
            values.push_back(static_cast<std::int32_t>(random()) >> (random() % 32));
        }
        for (const std::int64_t value : values) {
            PutLong(static_cast<std::int32_t>(value));
            wanted += Cat(value, ",");
        }
        PutFloat(0.1F);
    });
    EXPECT_EQ(text, wanted + "0.10000000149,");
    EXPECT_EQ(Written([] { PutString(""); }), "<NULL>");
    EXPECT_EQ(Written([] { PutString(" a\nb\r\n"); }), " a\r\nb\r\r\n");
    EXPECT_EQ(Written([] { PutText(""); }), "1,\r\n<NULL>");
    EXPECT_EQ(Written([] { PutText("a\n\nb"); }), "3,\r\na\r\n<NULL>\r\nb");
    EXPECT_EQ(Written([] { PutText("\n"); }), "2,\r\n<NULL>\r\n<NULL>");
    EXPECT_EQ(Written([] { PutText("%s\r\rb\rc\n\rd"); }), "2,\r\n%sbc\r\nd");
}

// Each kind of field at every place around the end of a full buffer, on its own and in a line of
// the most fields of the longest texts.
TEST_F(NeutralStreamTest, FieldsMeetTheEndOfTheBuffer) {
    NeutralWriteContext context = {.realDigits = 28, .realWidth = 35};
    SetNeutralContext(&context);
    constexpr double kValue = -1.2345678901234567e+100;
    const std::string real = ReferenceReal(kValue, 35, 28) + ",";
    ASSERT_EQ(real.size(), std::size_t{kMaxRealText + 1});
    for (std::size_t before = kBlock - 50; before <= kBlock + 2; ++before) {
        std::string wanted = std::string(before, 'x') + real + "-2147483647,\r\na\r\nb200,1,";
        const std::string text = Written([&] {
            PutString(std::string(before, 'x'));
            PutReal(kValue);
            PutLong(-2147483647);
            EndLine();
            PutString("a\nb");
            PutByte(200);
            PutBool(2);
            FieldLine line;
            for (int i = 0; i < FieldLine::kMostFields; ++i) {
                line.PutReal(kValue);
                wanted += real;
            }
            line.EndLine();
            line.PutText("a\nb");
            line.PutLong(-5);
            line.PutByte(255);
            line.PutBool(2);
        });
        EXPECT_TRUE(text == wanted + "\r\n2,\r\na\r\nb-5,255,1,") << before;
    }
}

TEST_F(NeutralStreamTest, CopiesFilesAndAppends) {
    const std::string many(kBlock + 1, 'x');
    files.Put("solid", many + "\r\nb\n" + std::string(1, '\0'));
    const std::string wanted = "1," + many + "\r\r\nb\r\n" + std::string(1, '\0');
    EXPECT_TRUE(wanted == Written([] {
                    PutLong(1);
                    EXPECT_TRUE(CopyFileToNeutral("solid") && !CopyFileToNeutral("missing"));
                }));
    ASSERT_TRUE(OpenNeutralStream(kPath, true));
    PutLong(2);
    EXPECT_TRUE(CloseNeutralStream());
    EXPECT_TRUE(files.Bytes(kPath) == wanted + "2,");
}

// Whichever write fails: what is in the file is a prefix of the whole, nothing is written after,
// and the reason is the one of that moment. Every write but the last takes a whole block.
TEST_F(NeutralStreamTest, TheFirstFailedWriteEndsAllWriting) {
    const auto putNumbers = [] {
        for (int i = 0; i < 300000; ++i) {
            PutLong(i);
        }
    };
    const std::string whole = Written(putNumbers);
    const std::size_t writes = files.CallCount(FileCall::kWrite);
    ASSERT_EQ(writes, whole.size() / kBlock + 1);
    for (std::size_t failing = 1; failing <= writes; ++failing) {
        ASSERT_TRUE(OpenNeutralStream(kPath, false));
        const std::size_t last = files.CallCount(FileCall::kWrite) + failing;
        files.FailCall(FileCall::kWrite, last, ENOSPC);
        putNumbers();
        EXPECT_EQ(NeutralStreamError(), ENOSPC);
        EXPECT_EQ(files.CallCount(FileCall::kWrite), last);
        EXPECT_FALSE(files.Exists("/memory/nothing"));  // another reason for LastError
        EXPECT_FALSE(CloseNeutralStream());
        EXPECT_EQ(NeutralStreamErrorText(), std::strerror(ENOSPC));
        EXPECT_EQ(files.Bytes(kPath), whole.substr(0, (failing - 1) * kBlock));
    }
}

}  // namespace
}  // namespace mod2neu
