#include "robustness/rich_model.h"

#include <algorithm>
#include <map>
#include <vector>

namespace mod2neu {

namespace {

constexpr std::int32_t kModel = 1;

class RichModelMaker {
  public:
    explicit RichModelMaker(const RichModelOptions& options) : options_(options) {}

    ModelBuilder Make() {
        model_.Title("Rich model");
        const std::pair<unsigned, void (RichModelMaker::*)()> makers[] = {
            {kFramePart, &RichModelMaker::AddFrame},
            {kGeometryPart, &RichModelMaker::AddGeometry},
            {kSolidPart, &RichModelMaker::AddSolids},
            {kIdListPart, &RichModelMaker::AddIdLists},
            {kMaterialPart, &RichModelMaker::AddMaterials},
            {kMeshPart, &RichModelMaker::AddMesh},
            {kConstraintPart, &RichModelMaker::AddConstraints},
            {kLoadPart, &RichModelMaker::AddLoads},
            {kGroupPart, &RichModelMaker::AddGroups},
            {kViewPart, &RichModelMaker::AddViews},
            {kFunctionPart, &RichModelMaker::AddFunctions},
            {kResultPart, &RichModelMaker::AddResults},
        };
        for (const auto& [part, add] : makers) {
            if ((options_.parts & part) != 0) {
                (this->*add)();
            }
        }
        return std::move(model_);
    }

  private:
    RecordImage Blank(int type) {
        const std::size_t size = RichRecordSize(type);
        return options_.noise == 0 ? RecordImage(size)
                                   : RecordImage(size, options_.noise + ++made_);
    }

    void Add(int type, std::int32_t database, std::int32_t id, const RecordImage& record) {
        model_.Add(type, database, id, record);
    }

    void AddRow(int type, std::int32_t database, int count, std::int32_t firstId = 1) {
        for (int i = 0; i < count; ++i) {
            Add(type, database, firstId + i, Blank(type));
        }
    }

    void AddFrame() {
        AddRow(9, kModel, 3, 2);
        Add(21, kModel, 1, Blank(21).Text(66, 258, "First line\nsecond line"));
        Add(27, kModel, 4, Blank(27).Text(8, 20, "SPAN").Text(28, 164, "2*HALF"));
        Add(33, kModel, 99'999'999, Blank(33).Text(8, 26, "The last of all layers"));
        AddRow(31, kModel, 2);
        AddRow(45, kModel, 2);
        for (int chunk = 1; chunk <= 2; ++chunk) {
            Add(54, kModel, chunk, Blank(54).I32(0, 24).Text(4, 30, "A remark,\nbroken twice.\n"));
            Add(54, 2, chunk, Blank(54).I32(0, 9).Text(4, 9, "no ending"));
        }
        for (const int type : {17, 12, 24, 31}) {
            model_.ActiveId(type, type * 100);
        }
    }

    void AddGeometry() {
        AddRow(3, kModel, 30 * options_.scale);
        for (int curve = 1; curve <= 3; ++curve) {
            Add(4, kModel, curve, Blank(4).I32(160, curve));
        }
        RecordImage attributes = Blank(38).I32(4, 2).I32(8, 3);
        RecordImage locations = Blank(55).F32(1280, 0.5F).F32(1284, 1.0F);
        for (int i = 0; i < 5; ++i) {
            attributes.F64(456 + 8 * static_cast<std::size_t>(i), 0.25 * i);
        }
        Add(38, kModel, 1, attributes);
        Add(55, kModel, 2, locations);
        for (int surface = 1; surface <= 3; ++surface) {
            Add(5, kModel, surface, Blank(5).I32(100, 4 + surface));
        }
        AddRow(32, kModel, 1, 3);
        Add(56, kModel, 2, RecordImage(600).I32(0, 7).I32(596, 8));
    }

    void AddSolids() {
        Add(53, kModel, 1, RecordImage(8).I32(0, 6).I32(4, 1));
        Add(53, kModel, 2, RecordImage(8).I32(0, 39).I32(4, 2));
        AddRow(6, kModel, 1);
        Add(39, kModel, 2, Blank(39).Text(16, 28, "Root block"));
        for (int chunk = 1; chunk <= 3; ++chunk) {
            Add(40, 2, chunk, Blank(40).I32(0, 13).Text(4, 20, "line 1\nline 2"));
        }
    }

    // Lists of one entry too many for a chunk, with single members and a range.
    void AddIdLists() {
        const std::pair<int, int> kinds[] = {{3, 49}, {4, 50}, {5, 51}, {53, 52}};
        for (const auto& [geometry, list] : kinds) {
            if ((options_.parts & kGeometryPart) == 0) {
                AddRow(geometry, kModel, 2);
            }
            const std::size_t perChunk = RichRecordSize(list) / 4;
            RecordImage first = RecordImage(4 * perChunk);
            first.I32(0, static_cast<std::int32_t>(perChunk)).I32(4, 70).I32(8, -90);
            for (std::size_t i = 3; i < perChunk; ++i) {
                first.I32(4 * i, static_cast<std::int32_t>(1000 - 3 * i));
            }
            Add(list, 1, 1, first);
            Add(list, 2, 1, RecordImage(4 * perChunk).I32(0, 20000));
            Add(list, 1, 2, RecordImage(4 * perChunk).I32(0, 1).I32(4, 5));
        }
    }

    void AddMaterials() {
        AddRow(10, kModel, 2);
        AddRow(34, kModel, 1, 2);
        for (int kind = 1; kind <= 2; ++kind) {
            Add(11, kModel, kind, Blank(11).I32(376, kind).F64(816, 7.0));
        }
        Add(57, 7, 1, Blank(57).I32(0, 82).F64(8, 0.125));
        Add(57, 7, 2, Blank(57));
    }

    void AddMesh() {
        AddRow(7, kModel, 60 * options_.scale);
        AddRow(7, kModel, 2, 5'000'000);
        for (int element = 1; element <= 10 * options_.scale; ++element) {
            const bool listed = element % 4 == 1;
            Add(8, kModel, element,
                Blank(8).I32(104, listed ? element : 0).I32(108, listed ? 500 : 0));
        }
        AddRow(37, 1, 2);
        AddRow(37, 5, 90);
        AddRow(37, 500, 3);
        AddRow(58, kModel, 2);
        AddRow(59, 2, 5);
    }

    void AddConstraints() {
        AddRow(17, kModel, 2);
        AddRow(18, 1, 5);
        for (int kind = 3; kind <= 5; ++kind) {
            Add(19, 2, kind, RecordImage(24).I32(16, 10 * kind).I32(20, kind));
        }
        Add(20, 2, 4, Blank(20).I32(560, 12).F64(0, 0.5));
    }

    void AddLoads() {
        AddRow(12, kModel, 2);
        for (int i = 1; i <= 4; ++i) {
            constexpr std::int32_t kLoadKinds[] = {1, 9, 41, 47};
            Add(13, 2, i, Blank(13).I32(56, kLoadKinds[i - 1]));
        }
        AddRow(14, 1, 2);
        AddRow(15, 2, 3);
        AddRow(16, 2, 3, 40);
    }

    void AddGroups() {
        for (int group = 1; group <= 2; ++group) {
            RecordImage record(840);
            record.I32(0, group).I32(4 * 86, 60).I32(356, 70).I32(356 + 4 * 22, group);
            Add(24, kModel, group, record.Text(809, 26, "Skins"));
        }
        for (const int key : {1, 2, 60}) {
            AddRow(25, key, 3);
        }
        AddFlags(26, 70, {1, 2, 3, 15, 16, 99'999'999});
        AddFlags(26, 2, {4711});
    }

    void AddFlags(int type, std::int32_t database, const std::vector<std::int32_t>& members) {
        std::map<std::int32_t, unsigned> words;
        for (const std::int32_t member : members) {
            words[member / 16 + 1] |= 0x8000U >> (member % 16);
        }
        for (const auto& [id, word] : words) {
            Add(type, database, id, RecordImage(4).U16(0, word));
        }
    }

    void AddViews() {
        AddRow(22, kModel, 2);
        AddFlags(23, 2, {3, 31, 32});
    }

    void AddFunctions() {
        AddRow(35, kModel, 2);
        AddRow(36, 1, 4);
        AddRow(36, 2, 130);
    }

    void AddResults() {
        for (int set = 1; set <= 2; ++set) {
            Add(28, kModel, set, Blank(28).Text(42, 262, "Linear static\n\nby hand"));
            for (int vector = 1; vector <= 2; ++vector) {
                const std::int32_t key = 10 * set + vector;
                Add(29, set, vector, Blank(29).I32(0, key));
                AddRow(30, key, 250 * options_.scale);
            }
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

std::size_t RichRecordSize(int type) {
    static const std::map<int, std::size_t> sizes = {
        {3, 80},    {4, 168},  {5, 104},  {6, 68},    {7, 72},    {8, 232},   {9, 200},  {10, 1960},
        {11, 1944}, {12, 576}, {13, 144}, {14, 528},  {15, 32},   {16, 32},   {17, 40},  {18, 16},
        {19, 24},   {20, 920}, {21, 336}, {22, 1480}, {23, 4},    {24, 840},  {25, 16},  {26, 4},
        {27, 192},  {28, 304}, {29, 160}, {30, 8},    {31, 968},  {32, 840},  {33, 36},  {34, 240},
        {35, 56},   {36, 16},  {37, 24},  {38, 1880}, {39, 44},   {40, 1964}, {45, 88},  {49, 20},
        {50, 140},  {51, 140}, {52, 140}, {53, 8},    {54, 1964}, {55, 1920}, {56, 600}, {57, 1928},
        {58, 104},  {59, 16},  {76, 16},  {78, 4}};
    const auto found = sizes.find(type);
    return found == sizes.end() ? 0 : found->second;
}

}  // namespace mod2neu
