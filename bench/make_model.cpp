// Makes a generated model: make_model SHAPE ENTITIES sorted|shuffled FILE

#include <cstdio>
#include <string_view>

#include "arguments.h"
#include "model_shapes.h"

int main(int argc, char** argv) {
    const mod2neu::ModelShape* shape = argc == 5 ? mod2neu::FindShape(argv[1]) : nullptr;
    const std::int32_t entities = argc == 5 ? mod2neu::PositiveNumber(argv[2]) : 0;
    if (shape == nullptr || entities == 0) {
        (void)std::fprintf(stderr, "Usage: make_model SHAPE ENTITIES sorted|shuffled FILE\n");
        return 2;
    }
    const auto order = std::string_view(argv[3]) == "shuffled" ? mod2neu::BlockOrder::kShuffled
                                                               : mod2neu::BlockOrder::kSorted;
    if (!mod2neu::WriteModel(argv[4], shape->tables(entities), order)) {
        std::perror(argv[4]);
        return 1;
    }
    return 0;
}
