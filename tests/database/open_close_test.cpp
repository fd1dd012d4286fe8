#include <cerrno>
#include <cstring>

#include "database/block_allocation.h"
#include "database/close.h"
#include "database/database_file.h"
#include "database/database_fixture.h"
#include "database/engine_memory.h"
#include "database/flag_set.h"
#include "shell/status_window.h"

namespace mod2neu {

namespace {

std::string InUse(const std::string& path) {
    return "Unable to open file " + path +
           "\n\r\nThis file is in use. Close the application that is using it and try again.";
}

std::string NotOpened(const std::string& path, int error) {
    return "Unable to Open File " + path + ": " + std::strerror(error) + ".";
}

struct ProcessEnded {};

class OpenCloseTest : public DatabaseTest {
  protected:
    OpenCloseTest() {
        SetFatalHandler([] { throw ProcessEnded(); });
        files.Put(kModel, model_);
    }

    static bool OpenAgain() {
        Restart();
        return OpenDatabase();
    }

    void ExpectRefused(const std::string& message) {
        EXPECT_FALSE(OpenAgain());
        EXPECT_EQ(TakeBoxes(), Texts{message});
        EXPECT_EQ(files.OpenHandles(), 0U);
    }

    void FailCalls(FileCall kind, const std::string& path) {
        files.onCall = [this, kind, path](const FileCallRecord& call) {
            if (call.kind == kind && call.path == path) {
                files.FailCall(files.calls.size(), EIO);
            }
        };
    }

    const std::vector<std::uint8_t> model_ =
        TaggedModel(kNode, Range(1, 300))
            .Add(kMaterial, 1, 3, TaggedRecord(kMaterial, 1, 3))
            .Title("Small")
            .FreeBlocks(2)
            .NeverUsedBlocks(4)
            .Garbage(9)
            .Shuffle(4)
            .Build()
            .bytes;
};

TEST_F(OpenCloseTest, TheHeaderIsReadAndTheCopyHeldUntilItIsDeleted) {
    files.Put(kScratch, "left behind by an earlier run");
    Restart();
    CreateStatusWindow();
    ASSERT_TRUE(OpenDatabase());
    EXPECT_EQ(desktop.statusLines.back(),
              "Allocated 25 Cache Buffers, each with 20 - 2048 byte blocks.");
    EXPECT_EQ(DatabaseVersion(), 6.0);
    EXPECT_EQ(ModelTitle(), "Small");
    EXPECT_EQ(files.Bytes(kScratch), files.Bytes(kModel));
    EXPECT_FALSE(files.Exists(kScratch));
    EXPECT_EQ(files.LastError(), kSharingViolation);
    EXPECT_FALSE(OpenDatabase()) << "it is open";
    EXPECT_TRUE(CloseModelSession());
    EXPECT_TRUE(CloseModelSession());
    EXPECT_EQ(files.Paths(), Texts{kModel});
    files.Remove(kModel);
    EXPECT_FALSE(OpenAgain());
    EXPECT_TRUE(files.Paths().empty());
    EXPECT_TRUE(TakeBoxes().empty()) << "a missing model is no message";
}

TEST_F(OpenCloseTest, FilesInUseAreReportedAndLeftAlone) {
    files.HoldElsewhere(kModel);
    ExpectRefused(InUse(kModel));
    files.ReleaseElsewhere(kModel);
    files.Put(kScratch, "another run's");
    files.HoldElsewhere(kScratch);
    ExpectRefused(InUse(kScratch));
    // The other run takes the file between the test and our creation of it.
    files.ReleaseElsewhere(kScratch);
    files.onCall = [this](const FileCallRecord& call) {
        if (call.kind == FileCall::kOpen && call.path == kScratch) {
            files.HoldElsewhere(kScratch);
        }
    };
    ExpectRefused(InUse(kScratch));
    EXPECT_EQ(files.Bytes(kScratch), "another run's");
}

TEST_F(OpenCloseTest, WhatCannotBeAModelOrItsCopyIsRefused) {
    files.Put(kScratch, model_);
    files.Link(kModel, kScratch);
    ExpectRefused(NotOpened(kScratch, EEXIST));
    EXPECT_EQ(files.Bytes(kModel).size(), model_.size());
    files.Remove(kScratch);
    for (const std::size_t size : {0U, 1U, 4815U}) {
        files.Put(kModel, std::string(size, '\1'));
        ExpectRefused(std::string("Unable to Read From Database: ") + std::strerror(ENODATA) + ".");
    }
    files.Put(kModel, std::string(4816, '\1'));
    EXPECT_TRUE(OpenAgain());
    // A path ends at 127 characters.
    files.tempDirectory = "/" + std::string(118, 't');
    ExpectRefused(NotOpened(files.tempDirectory + "/wing.scr", ENAMETOOLONG).substr(0, 159));
    files.tempDirectory.pop_back();
    EXPECT_TRUE(OpenAgain());
}

TEST_F(OpenCloseTest, FailuresOfTheHostAreTold) {
    const std::string reason = std::string(": ") + std::strerror(EIO) + ".";
    for (const auto& [kind, path, message] :
         {std::tuple(FileCall::kOpen, kModel, "Unable to Open File /models/wing.MOD"),
          {FileCall::kRead, kModel, "Error Reading File /models/wing.MOD"},
          {FileCall::kOpen, kScratch, "Unable to Open File /temp/wing.scr"},
          {FileCall::kWrite, kScratch, "Error Writing File /temp/wing.scr"},
          {FileCall::kRead, kScratch, "Unable to Read From Database"}}) {
        FailCalls(kind, path);
        ExpectRefused(message + reason);
    }
    // A close that cannot write leaves the database open for another try.
    files.onCall = nullptr;
    ASSERT_TRUE(OpenAgain());
    Put(kMaterial, 1, 500);
    FailCalls(FileCall::kWrite, kScratch);
    EXPECT_FALSE(CloseModelSession());
    EXPECT_EQ(TakeBoxes(), Texts{"Unable to Write to Database" + reason});
    files.onCall = nullptr;
    EXPECT_TRUE(IsDatabaseOpen() && CloseModelSession());
    EXPECT_EQ(files.Paths(), Texts{kModel});
    // Where the file cannot grow the process ends, with nothing open.
    ASSERT_TRUE(OpenAgain());
    FailCalls(FileCall::kWrite, kScratch);
    EXPECT_THROW((void)SetFlagRange(kTemporaryIdSet, 1, 1, 40'000), ProcessEnded);
    EXPECT_EQ(files.OpenHandles(), 0U);
}

std::size_t allocationsLeft = 0;

TEST_F(OpenCloseTest, TooLittleMemoryIsTold) {
    // The transfer buffer, four tables, then buffers, of which six are enough.
    for (std::size_t granted = 0; granted <= 11; ++granted) {
        SCOPED_TRACE(granted);
        allocationsLeft = granted;
        SetAllocationGate([](std::size_t) { return allocationsLeft > 0 && allocationsLeft-- > 0; });
        const bool opened = OpenAgain();
        SetAllocationGate(nullptr);
        Texts expected;
        if (granted > 0 && granted < 5) {
            expected = {"Unable to Allocate Memory for Database Startup."};
        } else if (granted > 0 && granted < 11) {
            expected = {"Insufficient memory for Operation. Need " +
                        std::to_string((11 - granted) * 20 * 2048) + " more bytes."};
        }
        EXPECT_EQ(TakeBoxes(), expected);
        EXPECT_EQ(opened, granted == 11);
        EXPECT_EQ(files.OpenHandles(), opened ? 1U : 0U);
    }
    EXPECT_EQ(Walk(kNode).size(), 300U);
}

}  // namespace

}  // namespace mod2neu
