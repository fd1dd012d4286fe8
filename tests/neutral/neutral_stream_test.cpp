#include "neutral/neutral_stream.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/memory_files.h"
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

    void Open() { ASSERT_TRUE(OpenNeutralStream(kPath, false)); }

    // What `put` writes into a new file.
    template <class Put>
    std::string Written(Put put) {
        EXPECT_TRUE(OpenNeutralStream(kPath, false));
        put();
        EXPECT_TRUE(CloseNeutralStream());
        return files.Bytes(kPath);
    }

    // A run of fields of every kind, the same each time.
    static void PutFields(int fields) {
        std::mt19937 random(1);
        for (int i = 0; i < fields; ++i) {
            const auto value = static_cast<std::int32_t>(random());
            switch (random() % 6) {
                case 0:
                    PutLong(value);
                    break;
                case 1:
                    PutReal(value / 1024.0);
                    break;
                case 2:
                    PutByte(static_cast<std::uint8_t>(value));
                    break;
                case 3:
                    PutBool(static_cast<std::uint8_t>(value & 1));
                    break;
                case 4:
                    PutString("Wing\nbox");
                    break;
                default:
                    EndLine();
                    break;
            }
        }
    }

    MemoryFiles files;
};

TEST_F(NeutralStreamTest, FramesBlocks) {
    const std::string text = Written([] {
        BeginBlock(100);
        EndBlock();
        BeginBlock(5);
        PutLong(7);
        PutLong(0);
        PutReal(1.5);
        EndLine();
        EndBlock();
        BeginBlock(1234567);
        BeginBlock(-12);
    });
    EXPECT_EQ(text,
              "   -1\r\n   100\r\n   -1\r\n"
              "   -1\r\n     5\r\n7,0,1.5,\r\n   -1\r\n"
              "   -1\r\n1234567\r\n   -1\r\n   -12\r\n");
}

TEST_F(NeutralStreamTest, WritesIntegers) {
    for (int bytes = 0; bytes < 256; ++bytes) {
        const auto byte = static_cast<std::uint8_t>(bytes);
        EXPECT_EQ(Written([&] { PutByte(byte); }), std::to_string(bytes) + ",");
        EXPECT_EQ(Written([&] { PutBool(byte); }), bytes == 0 ? "0," : "1,");
    }
    std::string wanted;
    const std::string text = Written([&] {
        const auto put = [&](std::int64_t value) {
            PutLong(static_cast<std::int32_t>(value));
            wanted += std::to_string(value) + ",";
        };
        for (std::int64_t power = 1; power <= 1000000000; power *= 10) {
            for (const std::int64_t value :
                 {power - 1, power, power + 1, 2 * power, 9 * power / 8}) {
                put(value);
                put(-value);
            }
        }
        put(std::numeric_limits<std::int32_t>::max());
        put(std::numeric_limits<std::int32_t>::min());
        std::mt19937 random(2);
        for (int i = 0; i < 100000; ++i) {
            put(static_cast<std::int32_t>(random()) >> (random() % 32));
        }
    });
    EXPECT_EQ(text, wanted);
}

TEST_F(NeutralStreamTest, WritesRealsByTheContext) {
    NeutralWriteContext context;
    context.realDigits = 4;
    context.realWidth = 11;
    EXPECT_EQ(Written([] { PutReal(3.14159265); }), "3.1415927,");
    SetNeutralContext(&context);
    EXPECT_EQ(Written([] { PutReal(3.14159265); }), "3.142,");
    EXPECT_EQ(Written([] { PutFloat(0.1F); }), "0.1,");
    context.realDigits = 12;
    context.realWidth = 19;
    EXPECT_EQ(Written([] { PutFloat(0.1F); }), "0.10000000149,");
    SetNeutralContext(nullptr);
    EXPECT_EQ(Written([] { PutReal(-1e-300); }), "0.,");
}

TEST_F(NeutralStreamTest, WritesTexts) {
    EXPECT_EQ(Written([] { PutString(""); }), "<NULL>");
    EXPECT_EQ(Written([] { PutString("  "); }), "  ");
    EXPECT_EQ(Written([] { PutString("a\nb\r\n"); }), "a\r\nb\r\r\n");

    struct TextCase {
        const char* text;
        const char* lines;
    };
    const TextCase cases[] = {
        {"", "1,\r\n<NULL>"},
        {"Wing\r\nSpar", "2,\r\nWing\r\nSpar"},
        {"Wing", "1,\r\nWing"},
        {"Wing\r\n", "2,\r\nWing\r\n<NULL>"},
        {"a\n\nb", "3,\r\na\r\n<NULL>\r\nb"},
        {"\r", "1,\r\n<NULL>"},
        {"\n", "2,\r\n<NULL>\r\n<NULL>"},
        {"a\r\rb\rc\n\rd", "2,\r\nabc\r\nd"},
        {"%s%n,\t", "1,\r\n%s%n,\t"},
    };
    for (const TextCase& c : cases) {
        EXPECT_EQ(Written([&] { PutText(c.text); }), c.lines);
    }
}

// Lines of the most fields, of the longest texts, from the last place of a full buffer on.
TEST_F(NeutralStreamTest, AWholeLineIsWrittenInOneGo) {
    NeutralWriteContext context;
    context.realDigits = 28;
    context.realWidth = 35;
    SetNeutralContext(&context);
    constexpr double kValue = -1.2345678901234567e+100;
    const std::string field = ReferenceReal(kValue, 35, 28) + ",";
    ASSERT_EQ(field.size(), std::size_t{kMaxRealText + 1});

    std::string wanted(kBlock - 1, 'x');
    const std::string text = Written([&] {
        PutString(wanted);
        FieldLine line;
        for (int lines = 0; lines < 3; ++lines) {
            for (int i = 0; i < FieldLine::kMostFields; ++i) {
                line.PutReal(kValue);
                wanted += field;
            }
            line.EndLine();
            wanted += "\r\n";
        }
        line.PutString("");
        line.EndLine();
        line.PutText("a\nb");
        line.EndLine();
        line.PutLong(-5);
        line.PutByte(255);
        line.PutBool(2);
        line.PutFloat(0.5F);
    });
    EXPECT_EQ(text, wanted + "<NULL>\r\n2,\r\na\r\nb\r\n-5,255,1,0.5,");
}

TEST_F(NeutralStreamTest, CopiesFiles) {
    std::string bytes;
    for (int i = 0; i < 300000; ++i) {
        bytes += static_cast<char>(i * 7 % 256);
    }
    std::string wanted;
    for (const char c : bytes) {
        wanted += c == '\n' ? std::string("\r\n") : std::string(1, c);
    }
    files.Put("/memory/solid.tmp", bytes);
    files.Put("/memory/empty.tmp", "");
    EXPECT_EQ(Written([] {
                  PutLong(1);
                  EXPECT_TRUE(CopyFileToNeutral("/memory/solid.tmp"));
                  EXPECT_TRUE(CopyFileToNeutral("/memory/empty.tmp"));
                  EXPECT_FALSE(CopyFileToNeutral("/memory/missing.tmp"));
                  PutLong(2);
              }),
              "1," + wanted + "2,");
    EXPECT_EQ(files.OpenHandles(), 0U);
}

TEST_F(NeutralStreamTest, CopiesTheBytesThatCouldBeRead) {
    files.Put("/memory/solid.tmp", "12\n345");
    files.FailCall(FileCall::kRead, 1, EIO);
    EXPECT_EQ(Written([] { EXPECT_TRUE(CopyFileToNeutral("/memory/solid.tmp")); }), "");
    files.ClearFaults();
    // Shortened between the question for its size and the reading.
    files.onCall = [&](const FileCallRecord& call) {
        if (call.kind == FileCall::kClose && call.path == "/memory/solid.tmp") {
            files.Put("/memory/solid.tmp", "12\n");
        }
    };
    EXPECT_EQ(Written([] { EXPECT_TRUE(CopyFileToNeutral("/memory/solid.tmp")); }), "12\r\n");
}

// Each kind of field at every place around the end of a full buffer.
TEST_F(NeutralStreamTest, FieldsMeetTheEndOfTheBuffer) {
    for (std::size_t before = kBlock - 40; before <= kBlock + 2; ++before) {
        const std::string filler(before, 'x');
        EXPECT_EQ(Written([&] {
                      PutString(filler);
                      PutReal(-1234.5678);
                      PutLong(-2147483647);
                      EndLine();
                      PutString("a\nb");
                      PutByte(200);
                      PutBool(1);
                  }),
                  filler + "-1234.5678,-2147483647,\r\na\r\nb200,1,");
    }
    EXPECT_GE(files.CallCount(FileCall::kWrite), 43U);
}

TEST_F(NeutralStreamTest, WritesWholeBlocks) {
    const std::string text = Written([] { PutFields(400000); });
    ASSERT_GT(text.size(), 3 * kBlock);
    std::vector<std::size_t> sizes;
    for (const FileCallRecord& call : files.calls) {
        if (call.kind == FileCall::kWrite) {
            sizes.push_back(call.size);
        }
    }
    ASSERT_EQ(sizes.size(), text.size() / kBlock + 1);
    for (std::size_t i = 0; i + 1 < sizes.size(); ++i) {
        EXPECT_EQ(sizes[i], kBlock);
    }
}

// Whichever write fails: what is in the file is a prefix of the whole, nothing is written after,
// and the reason is the one of that moment.
TEST_F(NeutralStreamTest, TheFirstFailedWriteEndsAllWriting) {
    constexpr int kFields = 400000;
    const std::string whole = Written([] { PutFields(kFields); });
    const std::size_t writes = files.CallCount(FileCall::kWrite);
    ASSERT_GE(writes, 4U);
    for (std::size_t failing = 1; failing <= writes; ++failing) {
        files.ClearFaults();
        Open();
        const std::size_t before = files.CallCount(FileCall::kWrite);
        files.FailCall(FileCall::kWrite, before + failing, ENOSPC);
        PutFields(kFields);
        EXPECT_EQ(NeutralStreamError(), ENOSPC);
        EXPECT_EQ(files.CallCount(FileCall::kWrite), before + failing);
        EXPECT_FALSE(files.Exists("/memory/nothing"));  // another reason for LastError
        EXPECT_FALSE(CloseNeutralStream());
        EXPECT_EQ(NeutralStreamErrorText(), std::strerror(ENOSPC));
        EXPECT_EQ(files.Bytes(kPath), whole.substr(0, (failing - 1) * kBlock));
        EXPECT_EQ(files.OpenHandles(), 0U);
    }
}

TEST_F(NeutralStreamTest, AFullDiskIsReportedByTheErrorCheck) {
    Open();
    files.capacity = 10;
    PutString("0123456789abcdef");
    EXPECT_EQ(NeutralStreamError(), ENOSPC);
    EXPECT_EQ(files.Bytes(kPath), "0123456789");
    files.capacity = 1000;
    PutString("more");
    EXPECT_EQ(NeutralStreamError(), ENOSPC);
    EXPECT_FALSE(CloseNeutralStream());
    EXPECT_EQ(files.Bytes(kPath), "0123456789");
}

TEST_F(NeutralStreamTest, AFailedCloseIsAFailedWrite) {
    Open();
    PutString("text");
    EXPECT_EQ(NeutralStreamError(), 0);
    files.FailCall(FileCall::kClose, files.CallCount(FileCall::kClose) + 1, EDQUOT);
    EXPECT_FALSE(CloseNeutralStream());
    EXPECT_EQ(NeutralStreamError(), EDQUOT);
    EXPECT_EQ(NeutralStreamErrorText(), std::strerror(EDQUOT));
    Open();
    EXPECT_EQ(NeutralStreamError(), 0);
    EXPECT_TRUE(CloseNeutralStream());
}

TEST_F(NeutralStreamTest, AFailedOpenTellsItsReason) {
    files.ForbidCreation("/memory", EACCES);
    EXPECT_FALSE(OpenNeutralStream(kPath, false));
    EXPECT_EQ(NeutralStreamError(), EACCES);
    EXPECT_EQ(NeutralStreamErrorText(), std::strerror(EACCES));
    PutFields(1000000);  // goes nowhere
    EXPECT_TRUE(files.Paths().empty());
}

TEST_F(NeutralStreamTest, NobodyElseMayHoldTheFile) {
    files.Put(kPath, "another run's");
    files.HoldElsewhere(kPath);
    EXPECT_FALSE(OpenNeutralStream(kPath, false));
    EXPECT_EQ(NeutralStreamError(), kSharingViolation);
    EXPECT_EQ(files.Bytes(kPath), "another run's");
    files.ReleaseElsewhere(kPath);
    Open();
    EXPECT_EQ(files.Open(kPath, {}), kNoFile);
}

TEST_F(NeutralStreamTest, AppendsToWhatIsThere) {
    for (const char* wanted : {"1,", "1,1,", "1,1,1,"}) {
        ASSERT_TRUE(OpenNeutralStream(kPath, true));
        PutLong(1);
        EXPECT_TRUE(CloseNeutralStream());
        EXPECT_EQ(files.Bytes(kPath), wanted);
    }
    files.FailCall(FileCall::kSeek, files.CallCount(FileCall::kSeek) + 1, EIO);
    EXPECT_FALSE(OpenNeutralStream(kPath, true));
    EXPECT_EQ(NeutralStreamError(), EIO);
    EXPECT_EQ(files.OpenHandles(), 0U);
}

}  // namespace
}  // namespace mod2neu
