#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "platform/scratch_directory.h"
#include "support/model_builder.h"

namespace mod2neu {
namespace {

// The program itself, its streams no terminal. Whatever is wrong, it says so and ends with exit
// code 0; a working copy stays only where the run ends before its closing.
TEST(Program, AnswersConvertsOrRefuses) {
    const ScratchDirectory directory;
    for (const auto& [name, version] : {std::pair("wing.mod", 6.0), std::pair("old.mod", 5.1)}) {
        const ModelImage model = ModelBuilder().Title("Wing box").Version(version).Build();
        directory.Write(name, std::string(model.bytes.begin(), model.bytes.end()));
    }
    const std::string model = BytesOf(directory / "wing.mod");
    directory.Write("short.mod", model.substr(0, 4815));
    std::filesystem::create_directories(directory / "folder.mod/temp");
    struct RunCase {
        std::string argument;
        std::string says;
        bool scratchStays = false;
    };
    for (const auto& [argument, says, scratchStays] : {
             RunCase{"--version", "mod2neu " MOD2NEU_VERSION "\n"},
             RunCase{"--help", "Usage: mod2neu "},
             RunCase{"missing", "Unable to Open File missing.mod:  ."},
             RunCase{"folder", "Unable to Open File folder.mod:  ."},
             RunCase{"short", "Unable to Read From Database: ", true},
             RunCase{"old", "Invalid Version 6 Model Database (5.1).", true},
             RunCase{"WING", "mod2neu: complete: WING.neu\n"},
         }) {
        const std::string command = "cd " + directory.Path() + " && TEMP=folder.mod/temp timeout " +
                                    "60 " MOD2NEU_PROGRAM " " + argument + " </dev/null >out 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0) << argument;
        const std::string out = BytesOf(directory / "out");
        EXPECT_NE(out.find(says), std::string::npos) << argument << ": " << out;
        EXPECT_EQ(BytesOf(directory / (argument + ".neu")).substr(0, 27),
                  argument == "WING" ? "   -1\r\n   100\r\nWing box\r\n6." : "");
        EXPECT_EQ(std::filesystem::exists(directory / ("folder.mod/temp/" + argument + ".scr")),
                  scratchStays);
    }
    EXPECT_EQ(BytesOf(directory / "wing.mod"), model);
}

}  // namespace
}  // namespace mod2neu
