// Writes the models that fuzzing starts from: make_seeds DIRECTORY.

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "robustness/rich_model.h"

namespace {

using mod2neu::ModelBuilder;
using mod2neu::RecordImage;
using mod2neu::RichModel;

bool Write(const std::string& path, const ModelBuilder& model) {
    const std::vector<std::uint8_t> bytes = model.Build().bytes;
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return file.good();
}

// More tables of one kind than the engine keeps hints for.
ModelBuilder ManyVectors() {
    ModelBuilder model = RichModel({.parts = 0});
    model.Add(28, 1, 1, RecordImage(304));
    for (int vector = 1; vector <= 12; ++vector) {
        model.Add(29, 1, vector, RecordImage(160).I32(0, vector));
        model.Add(30, vector, vector, RecordImage(8));
    }
    return model;
}

// Every part of a model alone, so that inputs are small and quick; then one whose blocks lie far
// apart, under two index blocks.
bool WriteSeeds(const std::string& directory) {
    bool good = true;
    for (unsigned part = 1; part <= mod2neu::kResultPart; part *= 2) {
        const std::string path = directory + "/part_" + std::to_string(part);
        good &= Write(path, RichModel({.parts = part}));
        good &= Write(path + "_noise",
                      RichModel({.parts = part, .noise = part}).FreeBlocks(2).Shuffle(part));
    }
    good &= Write(directory + "/lists_in_database",
                  RichModel({.parts = mod2neu::kIdListPart}).FreeBlocks(6).Header(456, {5, 0}));
    good &= Write(directory + "/many_vectors", ManyVectors());
    good &= Write(directory + "/two_runs",
                  RichModel({.parts = mod2neu::kMeshPart | mod2neu::kIdListPart})
                      .FreeBlocks(2)
                      .NeverUsedBlocks(102)
                      .Garbage(5)
                      .Shuffle(2));
    return good;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 || !WriteSeeds(argv[1])) {
        (void)std::fputs("Usage: make_seeds DIRECTORY\n", stderr);
        return 1;
    }
}
