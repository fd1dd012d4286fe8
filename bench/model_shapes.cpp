#include "model_shapes.h"

#include <algorithm>
#include <cstring>

#include "platform/little_endian.h"

namespace mod2neu {
namespace {

constexpr std::int32_t kValuesOfSmallVector = 10;
constexpr std::int32_t kLoadsOfSet = 3;
// Leaves one record in a block of nodes, up to the highest ID there can be.
constexpr std::int32_t kSparseStep = 99;

void Set32(std::uint8_t* record, int offset, std::int32_t value) {
    WriteLittleEndian(record + offset, value);
}
void Set16(std::uint8_t* record, int offset, int value) {
    WriteLittleEndian(record + offset, static_cast<std::uint16_t>(value));
}
void SetReal(std::uint8_t* record, int offset, double value) {
    WriteLittleEndian(record + offset, value);
}
void SetText(std::uint8_t* record, int offset, std::string_view text) {
    std::memcpy(record + offset, text.data(), text.size());
}

// 64 bits that depend on both numbers and look random.
std::uint64_t Noise(std::int32_t a, std::int32_t b) {
    std::uint64_t x = static_cast<std::uint64_t>(a) << 32 | static_cast<std::uint32_t>(b);
    x = (x ^ x >> 30) * 0xBF58476D1CE4E5B9;
    x = (x ^ x >> 27) * 0x94D049BB133111EB;
    return x ^ x >> 31;
}

// Thousandths between -1000 and 1000, such as a modeller's coordinates are.
double Coordinate(std::uint64_t noise) {
    return (static_cast<double>(noise % 2'000'001) - 1e6) / 1000;
}

// All digits used, of any magnitude up to 12.5 and most of them small, such as results are.
double Result(std::uint64_t noise) {
    const auto unit = [](std::uint64_t bits) {
        return static_cast<double>(static_cast<std::int32_t>(bits)) / 0x80000000U;
    };
    return 12.5 * unit(noise) * unit(noise >> 32);
}

void FillNode(std::int32_t /*database*/, std::int32_t id, std::uint8_t* node) {
    Set32(node, 64, 1);
    Set16(node, 68, 46);
    for (int axis = 0; axis < 3; ++axis) {
        SetReal(node, 32 + 8 * axis, Coordinate(Noise(id, axis)));
    }
}

// Plates of four nodes, and a beam with its orientation now and then.
void FillElement(std::int32_t /*database*/, std::int32_t id, std::uint8_t* element) {
    constexpr std::int32_t kRow = 1000;
    const bool beam = id % 8 == 0;
    Set16(element, 128, beam ? 12 : 124);
    Set32(element, 12, 1 + id / 5000);
    Set32(element, 16, beam ? 5 : 17);
    Set32(element, 124, beam ? 0 : 4);
    Set32(element, 132, 1 + id / 100000);
    const std::int32_t nodes[] = {id, id + 1, id + kRow + 1, id + kRow};
    for (int i = 0; i < (beam ? 2 : 4); ++i) {
        Set32(element, 24 + 4 * i, nodes[i]);
    }
    if (beam) {
        for (int axis = 0; axis < 3; ++axis) {
            SetReal(element, 144 + 8 * axis, Coordinate(Noise(id, 10 + axis)));
        }
    }
}

void FillOutputSet(std::int32_t /*database*/, std::int32_t /*id*/, std::uint8_t* set) {
    SetText(set, 16, "Case");
    SetReal(set, 0, 1.0);
    SetText(set, 42, "Generated");
}

// The vector's values are stored under its own ID.
void FillVector(std::int32_t /*database*/, std::int32_t id, std::uint8_t* vector) {
    Set32(vector, 0, id);
    SetText(vector, 128, "Translation");
    SetReal(vector, 112, -12.5);
    SetReal(vector, 104, 12.5);
    SetReal(vector, 96, 12.5);
    Set32(vector, 120, 1);
    Set32(vector, 124, 7);
    vector[92] = 1;
}

void FillValue(std::int32_t database, std::int32_t id, std::uint8_t* value) {
    SetReal(value, 0, Result(Noise(database + 100, id)));
}

void FillLoadSet(std::int32_t /*database*/, std::int32_t id, std::uint8_t* set) {
    SetText(set, 400, "Gust");
    SetReal(set, 16, Coordinate(Noise(1, id)));
}

void FillLoad(std::int32_t database, std::int32_t id, std::uint8_t* load) {
    Set32(load, 0, id);
    Set32(load, 56, 1);
    Set32(load, 64, 1);
    load[48] = 1;
    SetReal(load, 72, Coordinate(Noise(database, id)));
}

void FillCurve(std::int32_t /*database*/, std::int32_t id, std::uint8_t* curve) {
    Set32(curve, 16, id);
    Set32(curve, 20, id + 1);
}

// Five entries, of which one stands for a range: four ranges.
void FillIdList(std::int32_t /*database*/, std::int32_t id, std::uint8_t* list) {
    const std::int32_t entries[] = {5, id, id + 3, -(id + 40), id + 100, id + 200};
    for (int i = 0; i < 6; ++i) {
        Set32(list, 4 * i, entries[i]);
    }
}

std::vector<ModelTable> PlainTables(std::int32_t entities) {
    std::vector<ModelTable> tables = {
        {kNode, 1, entities, 1, FillNode},
        {kElement, 1, entities, 1, FillElement},
        {kOutputSet, 1, 1, 1, FillOutputSet},
        {kOutputVector, 1, kPlainVectors, 1, FillVector},
    };
    for (std::int32_t vector = 1; vector <= kPlainVectors; ++vector) {
        tables.push_back({kOutputData, vector, entities, 1, FillValue});
    }
    return tables;
}

std::vector<ModelTable> VectorTables(std::int32_t entities) {
    std::vector<ModelTable> tables = {
        {kOutputSet, 1, 1, 1, FillOutputSet},
        {kOutputVector, 1, entities, 1, FillVector},
    };
    for (std::int32_t vector = 1; vector <= entities; ++vector) {
        tables.push_back({kOutputData, vector, kValuesOfSmallVector, 1, FillValue});
    }
    return tables;
}

std::vector<ModelTable> LoadSetTables(std::int32_t entities) {
    std::vector<ModelTable> tables = {{kLoadSet, 1, entities, 1, FillLoadSet}};
    for (std::int32_t set = 1; set <= entities; ++set) {
        tables.push_back({kLoad, set, kLoadsOfSet, 1, FillLoad});
    }
    return tables;
}

std::vector<ModelTable> CurveTables(std::int32_t entities) {
    return {{kCurve, 1, entities, 1, FillCurve}, {kCurveIdList, 1, entities, 1, FillIdList}};
}

std::vector<ModelTable> SparseTables(std::int32_t entities) {
    return {{kNode, 1, entities, kSparseStep, FillNode}};
}

}  // namespace

const std::vector<ModelShape>& ModelShapes() {
    // Of an entity's lines: a node's one, an element's seven and a value's one; a vector's seven,
    // its values and their end; a load set's 21, three loads of seven and the ends of four tables;
    // a curve's five, and of its list the head, four ranges and the end.
    static const std::vector<ModelShape> shapes = {
        {kPlainShape.data(), "nodes, elements and values", 1 + 7 + kPlainVectors, PlainTables},
        {"vectors", "output vectors", 7 + kValuesOfSmallVector + 1, VectorTables},
        {"loads", "load sets", 21 + 7 * kLoadsOfSet + 4, LoadSetTables},
        {"curves", "curves with ID lists", 5 + 1 + 4 + 1, CurveTables},
        {"sparse", "nodes, one in a block", 1, SparseTables},
    };
    return shapes;
}

const ModelShape* FindShape(std::string_view name) {
    const auto& shapes = ModelShapes();
    const auto shape = std::find_if(shapes.begin(), shapes.end(),
                                    [&](const ModelShape& each) { return each.name == name; });
    return shape == shapes.end() ? nullptr : &*shape;
}

std::vector<std::uint8_t> PlainRecords(EntityType type, std::int32_t database, std::int32_t count) {
    const auto size = static_cast<std::size_t>(CatalogueRecordSize(type));
    std::vector<std::uint8_t> records(size * static_cast<std::size_t>(count));
    for (const ModelTable& table : PlainTables(count)) {
        if (table.type == type && table.database == database) {
            for (std::int32_t i = 0; i < table.count; ++i) {
                table.fill(database, i + 1, records.data() + size * static_cast<std::size_t>(i));
            }
        }
    }
    return records;
}

}  // namespace mod2neu
