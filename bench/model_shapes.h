#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "model_generator.h"

namespace mod2neu {

// Generated models, each of any size, that are large in one respect.
struct ModelShape {
    const char* name;
    const char* meaning;
    int linesPerEntity;  // of the Neutral file
    std::vector<ModelTable> (*tables)(std::int32_t entities);
};

// Nodes, elements and kPlainVectors output vectors with as many values: the shape that floor.cpp
// can write as well.
constexpr std::string_view kPlainShape = "plain";
constexpr std::int32_t kPlainVectors = 4;

const std::vector<ModelShape>& ModelShapes();

// nullptr when no shape has that name.
const ModelShape* FindShape(std::string_view name);

// The plain shape's records of one type, one behind the other from ID 1 on.
std::vector<std::uint8_t> PlainRecords(EntityType type, std::int32_t database, std::int32_t count);

}  // namespace mod2neu
