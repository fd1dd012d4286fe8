#include "robustness/rich_model.h"

#include <map>
#include <sstream>
#include <vector>

namespace mod2neu {

namespace {

const std::map<int, std::size_t> kRecordSizes = {
    {3, 80},    {4, 168},  {5, 104},  {6, 68},    {7, 72},    {8, 232},   {9, 200},  {10, 1960},
    {11, 1944}, {12, 576}, {13, 144}, {14, 528},  {15, 32},   {16, 32},   {17, 40},  {18, 16},
    {19, 24},   {20, 920}, {21, 336}, {22, 1480}, {23, 4},    {24, 840},  {25, 16},  {26, 4},
    {27, 192},  {28, 304}, {29, 160}, {30, 8},    {31, 968},  {32, 840},  {33, 36},  {34, 240},
    {35, 56},   {36, 16},  {37, 24},  {38, 1880}, {39, 44},   {40, 1964}, {45, 88},  {49, 20},
    {50, 140},  {51, 140}, {52, 140}, {53, 8},    {54, 1964}, {55, 1920}, {56, 600}, {57, 1928},
    {58, 104},  {59, 16}};

// `count` records with IDs from `firstId` on. `fields` fixes integers and reals at byte offsets
// ("i4=2 f8=0.5 d16=1"; "k4=2" adds the ID), `text` a text.
struct Row {
    ModelPart part;
    int type;
    std::int32_t database;
    std::int32_t firstId;
    int count = 1;
    const char* fields = "";
    std::size_t textAt = 0;
    const char* text = nullptr;
};

const Row kRows[] = {
    {kFramePart, 9, 1, 2, 3},
    {kFramePart, 21, 1, 1, 1, "", 66, "First line\nsecond line"},
    {kFramePart, 27, 1, 4, 1, "", 28, "2*HALF"},
    {kFramePart, 33, 1, 99'999'999, 1, "", 8, "The last of all layers"},
    {kFramePart, 31, 1, 1, 2},
    {kFramePart, 45, 1, 1, 2},
    {kFramePart, 54, 1, 1, 2, "i0=24", 4, "A remark,\nbroken twice.\n"},
    {kFramePart, 54, 2, 1, 2, "i0=9", 4, "no ending"},
    {kGeometryPart, 4, 1, 1, 3, "k160=0"},
    {kGeometryPart, 38, 1, 1, 1, "i4=2 i8=3 d456=0 d464=0.25 d472=0.5 d480=0.75 d488=1"},
    {kGeometryPart, 55, 1, 2, 1, "f1280=0.5 f1284=1"},
    {kGeometryPart, 5, 1, 1, 3, "k100=4"},
    {kGeometryPart, 32, 1, 3},
    {kGeometryPart, 56, 1, 2, 1, "i0=7 i596=8"},
    {kSolidPart, 53, 1, 1, 1, "i0=6 i4=1"},
    {kSolidPart, 53, 1, 2, 1, "i0=39 i4=2"},
    {kSolidPart, 6, 1, 1},
    {kSolidPart, 39, 1, 2, 1, "", 16, "Root block"},
    {kSolidPart, 40, 2, 1, 3, "i0=13", 4, "line 1\nline 2"},
    {kMaterialPart, 10, 1, 1, 2},
    {kMaterialPart, 34, 1, 2},
    {kMaterialPart, 11, 1, 1, 2, "k376=0 d816=7"},
    {kMaterialPart, 57, 7, 1, 1, "i0=82 d8=0.125"},
    {kMaterialPart, 57, 7, 2},
    {kMeshPart, 7, 1, 5'000'000, 2},
    {kMeshPart, 37, 1, 1, 2},
    {kMeshPart, 37, 5, 1, 90},
    {kMeshPart, 37, 500, 1, 3},
    {kMeshPart, 58, 1, 1, 2},
    {kMeshPart, 59, 2, 1, 5},
    {kConstraintPart, 17, 1, 1, 2},
    {kConstraintPart, 18, 1, 1, 5},
    {kConstraintPart, 19, 2, 3, 3, "k16=30 k20=0"},
    {kConstraintPart, 20, 2, 4, 1, "i560=12 d0=0.5"},
    {kLoadPart, 12, 1, 1, 2},
    {kLoadPart, 13, 2, 1, 1, "i56=1"},
    {kLoadPart, 13, 2, 2, 1, "i56=9"},
    {kLoadPart, 13, 2, 3, 1, "i56=41"},
    {kLoadPart, 13, 2, 4, 1, "i56=47"},
    {kLoadPart, 14, 1, 1, 2},
    {kLoadPart, 15, 2, 1, 3},
    {kLoadPart, 16, 2, 40, 3},
    {kGroupPart, 24, 1, 1, 2, "k0=0 i344=60 i356=70 k444=0", 809, "Skins"},
    {kGroupPart, 25, 1, 1, 3},
    {kGroupPart, 25, 2, 1, 3},
    {kGroupPart, 25, 60, 1, 3},
    {kGroupPart, 26, 70, 1, 1, "i0=28673"},  // members 1, 2, 3 and 15
    {kGroupPart, 26, 70, 2, 1, "i0=32768"},
    {kGroupPart, 26, 70, 6'250'000, 1, "i0=1"},  // the last of all IDs
    {kGroupPart, 26, 2, 295, 1, "i0=256"},
    {kViewPart, 22, 1, 1, 2},
    {kViewPart, 23, 2, 1, 1, "i0=4096"},
    {kViewPart, 23, 2, 2, 1, "i0=1"},
    {kViewPart, 23, 2, 3, 1, "i0=32768"},
    {kFunctionPart, 35, 1, 1, 2},
    {kFunctionPart, 36, 1, 1, 4},
    {kFunctionPart, 36, 2, 1, 130},
    {kResultPart, 28, 1, 1, 2, "", 42, "Linear static\n\nby hand"},
    {kResultPart, 29, 1, 1, 2, "k0=10"},
    {kResultPart, 29, 2, 1, 2, "k0=20"},
};

// These take several blocks: `count` is multiplied by the scale.
const Row kScaledRows[] = {{kGeometryPart, 3, 1, 1, 30},  {kMeshPart, 7, 1, 1, 60},
                           {kMeshPart, 8, 1, 1, 10},      {kResultPart, 30, 11, 1, 250},
                           {kResultPart, 30, 12, 1, 250}, {kResultPart, 30, 21, 1, 250},
                           {kResultPart, 30, 22, 1, 250}};

void SetFields(RecordImage& record, std::int32_t id, const char* fields) {
    std::istringstream in(fields);
    char kind = 0;
    char equals = 0;
    std::size_t offset = 0;
    for (double value = 0; in >> kind >> offset >> equals >> value;) {
        if (kind == 'i' || kind == 'k') {
            record.I32(offset, static_cast<std::int32_t>(value) + (kind == 'k' ? id : 0));
        } else if (kind == 'f') {
            record.F32(offset, static_cast<float>(value));
        } else {
            record.F64(offset, value);
        }
    }
}

class RichModelMaker {
  public:
    explicit RichModelMaker(const RichModelOptions& options) : options_(options) {}

    ModelBuilder Make() {
        model_.Title("Rich model");
        for (const Row& row : kRows) {
            AddRow(row, row.count);
        }
        for (const Row& row : kScaledRows) {
            AddRow(row, row.count * options_.scale);
        }
        AddIdLists();
        for (const int type : {17, 12, 24, 31}) {
            model_.ActiveId(type, Wants(kFramePart) ? type * 100 : 0);
        }
        return std::move(model_);
    }

  private:
    [[nodiscard]] bool Wants(unsigned part) const { return (options_.parts & part) != 0; }

    void AddRow(const Row& row, int count) {
        const std::size_t size = kRecordSizes.at(row.type);
        for (int i = 0; i < (Wants(row.part) ? count : 0); ++i) {
            RecordImage record = options_.noise == 0 ? RecordImage(size)
                                                     : RecordImage(size, options_.noise + ++made_);
            const std::int32_t id = row.firstId + i;
            SetFields(record, id, row.fields);
            if (row.text != nullptr) {
                record.Text(row.textAt, size - row.textAt, row.text);
            }
            if (row.type == 8) {  // some of the elements have lists of nodes
                record.I32(104, i % 4 == 0 ? id : 0).I32(108, i % 4 == 0 ? 500 : 0);
            }
            model_.Add(row.type, row.database, id, record);
        }
    }

    // Lists of one entry too many for a chunk, with single members and a range.
    void AddIdLists() {
        for (const auto& [geometry, list] : {std::pair(3, 49), {4, 50}, {5, 51}, {53, 52}}) {
            if (!Wants(kIdListPart)) {
                return;
            }
            AddRow({kIdListPart, geometry, 1, 1, 2}, Wants(kGeometryPart) ? 0 : 2);
            const std::size_t size = kRecordSizes.at(list);
            RecordImage first(size);
            first.I32(0, static_cast<std::int32_t>(size / 4)).I32(4, 70).I32(8, -90);
            for (std::size_t i = 3; i < size / 4; ++i) {
                first.I32(4 * i, static_cast<std::int32_t>(1000 - 3 * i));
            }
            model_.Add(list, 1, 1, first)
                .Add(list, 2, 1, RecordImage(size).I32(0, 20000))
                .Add(list, 1, 2, RecordImage(size).I32(0, 1).I32(4, 5));
        }
    }

    RichModelOptions options_;
    ModelBuilder model_;
    unsigned made_ = 0;
};

}  // namespace

ModelBuilder RichModel(const RichModelOptions& options) {
    return RichModelMaker(options).Make();
}

}  // namespace mod2neu
