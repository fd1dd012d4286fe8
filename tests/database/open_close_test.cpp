#include <cerrno>
#include <cstring>
#include <functional>

#include "database/block_allocation.h"
#include "database/block_cache.h"
#include "database/close.h"
#include "database/database_file.h"
#include "database/database_fixture.h"
#include "database/engine_memory.h"
#include "database/file_copy.h"
#include "database/flag_set.h"
#include "database/record_access.h"
#include "shell/session.h"
#include "shell/status_window.h"

namespace mod2neu {

namespace {

using Texts = std::vector<std::string>;

const std::string kIoError = std::strerror(EIO);

std::string InUse(const std::string& path) {
    return "Unable to open file " + path +
           "\n\r\nThis file is in use. Close the application that is using it and try again.";
}

std::string NotOpened(const std::string& path, const std::string& reason) {
    return "Unable to Open File " + path + ": " + reason + ".";
}

ModelImage SmallModel() {
    ModelBuilder builder;
    for (std::int32_t id = 1; id <= 300; ++id) {
        builder.Add(kNode, 1, id, TaggedRecord(kNode, 1, id));
    }
    for (std::int32_t id = 1; id <= 20; ++id) {
        builder.Add(kMaterial, 1, id * 3, TaggedRecord(kMaterial, 1, id * 3));
    }
    return builder.Title("Small").FreeBlocks(2).NeverUsedBlocks(4).Garbage(9).Shuffle(4).Build();
}

struct ProcessEnded {};

class OpenCloseTest : public DatabaseTest {
  protected:
    OpenCloseTest() {
        SetFatalHandler([] { throw ProcessEnded(); });
    }

    // Opens without the expectation that it succeeds.
    bool TryOpen(const ModelImage& image) {
        Restart();
        files.Put(kModel, image.bytes);
        return OpenDatabase();
    }
};

TEST_F(OpenCloseTest, TheHeaderIsReadAndTheCopyHeldUntilItIsDeleted) {
    files.Put(kScratch, "left behind by an earlier run, longer than nothing");
    const ModelImage image = SmallModel();
    Open(image);
    EXPECT_EQ(DatabaseVersion(), 6.0);
    EXPECT_EQ(ModelTitle(), "Small");
    EXPECT_EQ(files.Bytes(kScratch), files.Bytes(kModel));
    EXPECT_FALSE(files.Exists(kScratch));
    EXPECT_EQ(files.LastError(), kSharingViolation);
    EXPECT_FALSE(OpenDatabase());
    EXPECT_TRUE(CloseModelSession());
    EXPECT_TRUE(CloseModelSession());
    EXPECT_EQ(files.Paths(), Texts{kModel});
    EXPECT_TRUE(TakeBoxes().empty());
}

TEST_F(OpenCloseTest, TheScratchFileLiesWhereSettingsAndSurroundingsSay) {
    const ModelImage image = SmallModel();
    struct Case {
        const char* model;
        const char* setting;
        const char* temp;
        const char* scratch;
    };
    for (const Case& c :
         std::initializer_list<Case>{{"/models/wing.MOD", "", "/temp", "/temp/wing.scr"},
                                     {"/models/wing.MOD", "/fast", "/temp", "/fast/wing.scr"},
                                     {"/models/wing.MOD", "", "", "/memory/wing.scr"},
                                     {"/models/wing.old.mod", "", "/temp/", "/temp/wing.scr"},
                                     {"/a.b/wing", "", "/temp", "/temp/wing.scr"}}) {
        Restart();
        files.Put(c.model, image.bytes);
        files.tempDirectory = c.temp;
        DatabaseSettings settings;
        settings.scratchDirectory = c.setting;
        SetDatabaseSettings(settings);
        CurrentSession().ModelFileName = c.model;
        EXPECT_TRUE(OpenDatabase()) << c.scratch;
        EXPECT_TRUE(files.Has(c.scratch)) << c.scratch;
        EXPECT_TRUE(CloseModelSession());
        EXPECT_FALSE(files.Has(c.scratch)) << c.scratch;
    }
}

TEST_F(OpenCloseTest, AMissingModelIsNoMessage) {
    Restart();
    EXPECT_FALSE(OpenDatabase());
    EXPECT_TRUE(TakeBoxes().empty());
    EXPECT_TRUE(files.Paths().empty());
}

TEST_F(OpenCloseTest, FilesInUseAreReportedAndLeftAlone) {
    const ModelImage image = SmallModel();
    files.Put(kModel, image.bytes);
    files.HoldElsewhere(kModel);
    EXPECT_FALSE(OpenDatabase());
    EXPECT_EQ(TakeBoxes(), Texts{InUse(kModel)});
    files.ReleaseElsewhere(kModel);
    files.Put(kScratch, "another run's");
    files.HoldElsewhere(kScratch);
    EXPECT_FALSE(OpenDatabase());
    EXPECT_EQ(TakeBoxes(), Texts{InUse(kScratch)});
    EXPECT_EQ(files.Bytes(kScratch), "another run's");
    // The other run takes the file between the test and our creation of it.
    files.ReleaseElsewhere(kScratch);
    files.onCall = [this](const FileCallRecord& call) {
        if (call.kind == FileCall::kOpen && call.path == kScratch) {
            files.HoldElsewhere(kScratch);
        }
    };
    EXPECT_FALSE(OpenDatabase());
    files.onCall = nullptr;
    EXPECT_EQ(TakeBoxes(), Texts{InUse(kScratch)});
    EXPECT_EQ(files.Bytes(kScratch), "another run's");
    EXPECT_EQ(files.OpenHandles(), 0U);
}

TEST_F(OpenCloseTest, AModelAtItsOwnScratchPathIsRefused) {
    const ModelImage image = SmallModel();
    const std::string refused = NotOpened(kScratch, std::strerror(EEXIST));
    files.Put(kScratch, image.bytes);
    CurrentSession().ModelFileName = kScratch;
    EXPECT_FALSE(OpenDatabase());
    EXPECT_EQ(TakeBoxes(), Texts{refused});
    Restart();
    files.Link(kModel, kScratch);
    const std::string whole = files.Bytes(kModel);
    EXPECT_FALSE(OpenDatabase());
    EXPECT_EQ(TakeBoxes(), Texts{refused});
    EXPECT_EQ(files.Bytes(kModel), whole);
    EXPECT_EQ(whole.size(), image.bytes.size());
}

TEST_F(OpenCloseTest, PathsEndAt127Characters) {
    const ModelImage image = SmallModel();
    files.Put(kModel, image.bytes);
    for (const std::size_t length : {126U, 127U, 128U, 259U}) {
        Restart();
        const std::string name = "/wing.scr";
        files.tempDirectory = "/" + std::string(length - name.size() - 1, 't');
        const bool fits = length <= 127;
        EXPECT_EQ(OpenDatabase(), fits) << length;
        const Texts expected{
            NotOpened(files.tempDirectory + name, std::strerror(ENAMETOOLONG)).substr(0, 159)};
        EXPECT_EQ(TakeBoxes(), fits ? Texts{} : expected) << length;
        EXPECT_TRUE(CloseModelSession());
        EXPECT_EQ(files.Paths(), Texts{kModel});
    }
}

TEST_F(OpenCloseTest, FilesWithoutAWholeHeaderAreRefused) {
    const std::string whole(4816, '\1');
    for (const std::size_t size : {0U, 1U, 4815U, 4816U}) {
        Restart();
        files.Put(kModel, whole.substr(0, size));
        EXPECT_EQ(OpenDatabase(), size == 4816) << size;
        const Texts boxes = TakeBoxes();
        ASSERT_EQ(boxes.size(), size == 4816 ? 0U : 1U) << size;
        if (!boxes.empty()) {
            EXPECT_EQ(boxes[0],
                      std::string("Unable to Read From Database: ") + std::strerror(ENODATA) + ".");
            EXPECT_EQ(files.OpenHandles(), 0U);
            EXPECT_TRUE(files.Has(kScratch));
        }
    }
}

// A session that uses every kind of file call, on a cache so small that it writes early.
class SessionSweep : public OpenCloseTest {
  protected:
    struct Course {
        bool opened = false;
        bool closed = false;
        bool ended = false;  // the process, through FatalDatabaseError
        std::size_t openCalls = 0;
        std::size_t workCalls = 0;
    };

    Course Run(const ModelImage& image) {
        Course course;
        Restart();
        DatabaseSettings settings;
        settings.MinBuffers = 5;
        settings.MaxBuffers = 5;
        settings.BlocksPerBuffer = 2;
        SetDatabaseSettings(settings);
        files.Put(kModel, image.bytes);
        files.calls.clear();
        try {
            course.opened = OpenDatabase();
            course.openCalls = files.calls.size();
            if (course.opened) {
                Work();
                course.workCalls = files.calls.size();
                course.closed = CloseModelSession();
            }
        } catch (const ProcessEnded&) {
            course.ended = true;
        }
        return course;
    }

    // The message that a failure of call `n` leads to; empty when it leads to none.
    static std::string MessageFor(const std::vector<FileCallRecord>& calls, std::size_t n,
                                  bool opening) {
        const FileCallRecord& call = calls[n - 1];
        const bool model = call.path == kModel;
        if (!opening) {
            const bool writes = call.kind == FileCall::kWrite ||
                                (call.kind == FileCall::kSeek && calls[n].kind == FileCall::kWrite);
            return writes ? "Unable to Write to Database: " + kIoError + "." : "";
        }
        switch (call.kind) {
            case FileCall::kOpen:
                return NotOpened(call.path, kIoError);
            case FileCall::kRead:
                return model ? "Error Reading File " + call.path + ": " + kIoError + "."
                             : "Unable to Read From Database: " + kIoError + ".";
            case FileCall::kSeek:
                return "Unable to Read From Database: " + kIoError + ".";
            case FileCall::kWrite:
                return "Error Writing File " + call.path + ": " + kIoError + ".";
            default:
                return "";
        }
    }

  private:
    static void Work() {
        std::vector<std::uint8_t> record(kRecordAreaSize);
        for (std::int32_t id = 1; id <= 60; id += 10) {
            (void)GetRecord(kMaterial, 1, id, record.data());
        }
        (void)SetFlagRange(kTemporaryIdSet, 1, 1, 40'000);
        (void)WalkRecords(kNode, 1);
        (void)ClearRecords(kTemporaryIdSet, 1);
        (void)PutRecord(kMaterial, 1, 500, record.data());
    }
};

TEST_F(SessionSweep, EveryFailingCallGivesItsMessageAndADefinedState) {
    const ModelImage image = SmallModel();
    const std::string whole(image.bytes.begin(), image.bytes.end());
    const Course sound = Run(image);
    ASSERT_TRUE(sound.opened && sound.closed);
    ASSERT_TRUE(TakeBoxes().empty());
    const std::vector<FileCallRecord> calls = files.calls;
    ASSERT_GT(sound.workCalls - sound.openCalls, 60U);
    // The close stands or falls with its first flush, which ends with the header record.
    std::size_t flushEnd = sound.workCalls;
    while (calls[flushEnd].kind != FileCall::kWrite || calls[flushEnd].size != 4816) {
        ++flushEnd;
    }
    ++flushEnd;
    std::size_t fatal = 0;
    for (std::size_t n = 1; n <= calls.size(); ++n) {
        SCOPED_TRACE(testing::Message() << "call " << n << " " << NameOf(calls[n - 1].kind) << " "
                                        << calls[n - 1].path);
        const bool opening = n <= sound.openCalls;
        const std::string message = MessageFor(calls, n, opening);
        files.Remove(kScratch);
        files.FailCall(n, EIO);
        const Course course = Run(image);
        files.ClearFaults();
        const Texts boxes = TakeBoxes();
        ASSERT_TRUE(files.Bytes(kModel) == whole);
        ASSERT_GE(files.calls.size(), n);
        if (course.ended) {
            ++fatal;
            EXPECT_TRUE(n > sound.openCalls && n <= sound.workCalls);
            EXPECT_EQ(files.OpenHandles(), 0U);
            EXPECT_TRUE(files.Has(kScratch));
            continue;
        }
        EXPECT_EQ(boxes, message.empty() ? Texts{} : Texts{message});
        if (opening) {
            // A test of existence that fails only says that there is no such file.
            const bool missing =
                calls[n - 1].kind == FileCall::kExists && calls[n - 1].path == kModel;
            EXPECT_EQ(course.opened, message.empty() && !missing);
        }
        const bool flushFailed = n > sound.workCalls && n <= flushEnd;
        EXPECT_EQ(course.closed, course.opened && !flushFailed);
        EXPECT_EQ(IsDatabaseOpen(), flushFailed);
        EXPECT_EQ(files.OpenHandles(), flushFailed ? 1U : 0U);
        if (course.closed && calls[n - 1].kind != FileCall::kDelete) {
            EXPECT_FALSE(files.Has(kScratch));
        }
    }
    EXPECT_GT(fatal, 0U);
}

TEST_F(SessionSweep, ShortReadsAndWritesWhileOpeningAreFailures) {
    const ModelImage image = SmallModel();
    const Course sound = Run(image);
    const std::vector<FileCallRecord> calls = files.calls;
    for (std::size_t n = 1; n <= sound.openCalls; ++n) {
        const FileCallRecord& call = calls[n - 1];
        // A short read of the model only moves the border between two transfers.
        const bool fails = call.kind == FileCall::kWrite ||
                           (call.kind == FileCall::kRead && call.path == kScratch);
        files.Remove(kScratch);
        files.ShortenCall(n, 100, ENOSPC);
        const Course course = Run(image);
        files.ClearFaults();
        EXPECT_EQ(course.opened, !fails) << n;
        EXPECT_EQ(TakeBoxes().size(), fails ? 1U : 0U) << n;
    }
}

TEST_F(OpenCloseTest, AFailedFlushLeavesTheDatabaseOpenAndTheScratchFileThere) {
    Open(SmallModel());
    ASSERT_TRUE(SetFlag(kTemporaryIdSet, 1, 5));
    files.FailCall(files.calls.size() + 2, ENOSPC, 1000);
    EXPECT_FALSE(CloseModelSession());
    EXPECT_EQ(TakeBoxes(),
              Texts{std::string("Unable to Write to Database: ") + std::strerror(ENOSPC) + "."});
    EXPECT_TRUE(IsDatabaseOpen());
    EXPECT_TRUE(files.Has(kScratch));
    files.ClearFaults();
    EXPECT_TRUE(CloseModelSession());
    EXPECT_FALSE(files.Has(kScratch));
}

TEST_F(OpenCloseTest, ARunThatReadNoBlockWritesOnlyTheHeader) {
    Open(SmallModel());
    files.calls.clear();
    EXPECT_TRUE(CloseModelSession());
    for (const FileCallRecord& call : files.calls) {
        EXPECT_NE(call.kind, FileCall::kRead);
        EXPECT_TRUE(call.kind != FileCall::kWrite || call.size == 4816);
    }
    EXPECT_EQ(files.CallCount(FileCall::kDelete), 1U);
}

TEST_F(OpenCloseTest, SettingsKeepTheScratchFileOrDoWithoutIt) {
    const ModelImage image = SmallModel();
    Open(image);
    DatabaseSettings settings;
    settings.deleteScratchOnClose = false;
    SetDatabaseSettings(settings);
    EXPECT_TRUE(CloseModelSession());
    EXPECT_TRUE(files.Has(kScratch));
    files.Remove(kScratch);
    settings.workOnScratchCopy = false;
    SetDatabaseSettings(settings);
    EXPECT_TRUE(OpenDatabase());
    EXPECT_EQ(files.Paths(), Texts{kModel});
    EXPECT_TRUE(CloseModelSession());
    EXPECT_EQ(files.Paths(), Texts{kModel});
}

// Refuses the allocation of that number, counted from 1, and all later ones of at least
// `atLeast` bytes.
std::size_t allocationsLeft = 0;
std::size_t atLeast = 0;

bool CountAllocations(std::size_t bytes) {
    if (bytes < atLeast) {
        return true;
    }
    if (allocationsLeft == 0) {
        return false;
    }
    --allocationsLeft;
    return true;
}

TEST_F(OpenCloseTest, EveryAllocationMayFail) {
    const ModelImage image = SmallModel();
    constexpr std::size_t kBuffer = 20 * 2048;
    // The transfer buffer, four tables, then buffers.
    for (std::size_t granted = 0; granted < 35; ++granted) {
        allocationsLeft = granted;
        atLeast = 0;
        SetAllocationGate(CountAllocations);
        const bool opened = TryOpen(image);
        SetAllocationGate(nullptr);
        const Texts boxes = TakeBoxes();
        SCOPED_TRACE(granted);
        if (granted == 0) {
            EXPECT_FALSE(opened);
            EXPECT_TRUE(boxes.empty());
        } else if (granted < 5) {
            EXPECT_FALSE(opened);
            EXPECT_EQ(boxes, Texts{"Unable to Allocate Memory for Database Startup."});
        } else if (granted < 11) {
            EXPECT_FALSE(opened);
            EXPECT_EQ(boxes, Texts{"Insufficient memory for Operation. Need " +
                                   std::to_string((11 - granted) * kBuffer) + " more bytes."});
        } else {
            EXPECT_TRUE(opened);
            EXPECT_TRUE(boxes.empty());
            EXPECT_EQ(HighestBuffer() + 1,
                      static_cast<int>(std::min<std::size_t>(granted - 5, 25)));
            EXPECT_EQ(Walk(kNode, 1).size(), 300U);
        }
        EXPECT_EQ(files.OpenHandles(), opened ? 1U : 0U);
    }
}

TEST_F(OpenCloseTest, TheTransferBufferMakesDoWithLess) {
    std::string text(5 * 98'304 + 17, 'x');
    for (std::size_t i = 0; i < text.size(); ++i) {
        text[i] = static_cast<char>(i * 31 / 7);
    }
    for (const std::size_t blocks : {48U, 47U, 1U}) {
        allocationsLeft = 0;
        atLeast = (blocks + 1) * 2048;
        for (const std::size_t size : {std::size_t{0}, std::size_t{1}, blocks * 2048 - 1,
                                       blocks * 2048, blocks * 2048 + 1, text.size()}) {
            files.Put("/from", text.substr(0, size));
            files.Put("/to", "old text that is longer than some of the new ones");
            SetAllocationGate(CountAllocations);
            files.calls.clear();
            EXPECT_TRUE(CopyFileContents("/from", "/to"));
            SetAllocationGate(nullptr);
            EXPECT_TRUE(files.Bytes("/to") == text.substr(0, size)) << size;
            EXPECT_EQ(files.calls[2].size, blocks * 2048);
        }
    }
    EXPECT_EQ(files.OpenHandles(), 0U);
}

TEST_F(OpenCloseTest, ACopyUsesTheHandlesItIsGivenAndLeavesThemOpen) {
    files.Put("/from", "0123456789");
    files.Put("/to", "");
    const ScopedFile from(files.Open("/from", {}));
    OpenMode mode;
    mode.access = FileAccess::kReadWrite;
    const ScopedFile to(files.Open("/to", mode));
    EXPECT_TRUE(CopyFileContents("named in messages", "likewise", from.Get(), to.Get()));
    EXPECT_EQ(files.Bytes("/to"), "0123456789");
    EXPECT_EQ(files.OpenHandles(), 2U);
    EXPECT_FALSE(CopyFileContents("/missing", "/to", kNoFile, to.Get()));
    EXPECT_EQ(TakeBoxes(), Texts{NotOpened("/missing", std::strerror(ENOENT))});
    EXPECT_FALSE(CopyFileContents("/from", "/from", from.Get()));
    EXPECT_EQ(TakeBoxes(), Texts{NotOpened("/from", "The file is in use by another process")});
    EXPECT_EQ(files.Bytes("/from"), "0123456789");
}

TEST_F(OpenCloseTest, TheCacheIsReportedInTheStatusWindow) {
    struct Case {
        int minimum;
        int maximum;
        int blocks;
        const char* report;
        int afterWalk;
    };
    const ModelImage image = SmallModel();
    for (const Case& c : std::initializer_list<Case>{
             {25, 250, 20, "Allocated 25 Cache Buffers, each with 20 - 2048 byte blocks.", 25},
             {1, 3, 1, "Allocated 5 Cache Buffers, each with 1 - 2048 byte blocks.", 5},
             {5, 7, 2, "Allocated 5 Cache Buffers, each with 2 - 2048 byte blocks.", 7},
             {6, 5000, 1, "Allocated 6 Cache Buffers, each with 1 - 2048 byte blocks.", 33},
             {9000, 1, 200, "Allocated 1024 Cache Buffers, each with 100 - 2048 byte blocks.",
              1024}}) {
        Restart();
        CreateStatusWindow();
        DatabaseSettings settings;
        settings.MinBuffers = c.minimum;
        settings.MaxBuffers = c.maximum;
        settings.BlocksPerBuffer = c.blocks;
        SetDatabaseSettings(settings);
        files.Put(kModel, image.bytes);
        ASSERT_TRUE(OpenDatabase());
        EXPECT_EQ(desktop.statusLines.back(), c.report);
        EXPECT_EQ(Walk(kNode, 1).size() + Walk(kMaterial, 1).size(), 320U);
        EXPECT_EQ(HighestBuffer() + 1, c.afterWalk);
    }
}

}  // namespace

}  // namespace mod2neu
