#include "sample/parts.h"
#include "sample/wing_box.h"

namespace mod2neu::sample {

namespace {

// Rules and lists of elements stand under this kind of either.
constexpr std::size_t kOfElements = 8;
constexpr std::size_t kOfNodes = 7;

Record GroupTitled(const char* title) {
    return Record(kGroup).I8(808, -1).Text(809, 26, title).U8(835, 1).I16(498, 1);
}

// Adds the elements from `first` to `last` by a rule under `key`.
void AddElements(ModelWriter& model, std::int32_t key, std::int32_t rule, std::int32_t first,
                 std::int32_t last) {
    model.PutUnder(key, rule, Record(kGroupRule).I32(0, first, last, 1).I16(12, 1));
}

// The keys of a group's rules and lists, as `kind` entries of its two tables.
void SetRuleKey(Record& group, std::size_t kind, std::int32_t key) {
    group.I32(4 * kind, key);
}
void SetListKey(Record& group, std::size_t kind, std::int32_t key) {
    group.I32(356 + 4 * kind, key);
}

void PutUpperSkin(ModelWriter& model) {
    constexpr std::int32_t kElementRules = 18;
    constexpr std::int32_t kNodes = 17;
    constexpr std::int32_t kElements = 19;
    Record group = GroupTitled("Upper skin");
    SetRuleKey(group, kOfElements, kElementRules);
    SetListKey(group, kOfNodes, kNodes);
    SetListKey(group, kOfElements, kElements);
    group.I32(460, 0, kSkinLayer).I8(468, -1);
    model.Put(1, group);
    AddElements(model, kElementRules, 1, SkinPanelId(1, 1), SkinPanelId(kBays, kCells));
    model.PutFlags(kGroupList, kNodes,
                   {{101, 104}, {201, 204}, {301, 304}, {401, 404}, {501, 504}, {601, 604}});
    model.PutFlags(kGroupList, kElements,
                   {{101, 103}, {201, 203}, {301, 303}, {401, 403}, {501, 503}});
}

// Everything outboard of the third rib: a cutting plane instead of a list.
void PutOuterWing(ModelWriter& model) {
    constexpr std::int32_t kElementRules = 28;
    Record group = GroupTitled("Outer wing");
    SetRuleKey(group, kOfElements, kElementRules);
    group.F64(472, RibY(3), kSemiSpan).I32(488, kGlobal).I16(492, 0, 2, 1);
    group.U8(501, 1).U8(507, 1);
    group.F64(520, 0, RibY(3), 0).F64(664, 0, 1, 0);  // a point of the plane, its normal
    model.Put(2, group);
    AddElements(model, kElementRules, 1, SkinPanelId(3, 1), SkinPanelId(kBays, kCells));
    AddElements(model, kElementRules, 2, SkinPanelId(3, 1, true), SkinPanelId(kBays, kCells, true));
    AddElements(model, kElementRules, 3, kTipSpreader, kTipSpreader);
}

}  // namespace

void PutGroups(ModelWriter& model) {
    PutUpperSkin(model);
    PutOuterWing(model);
    model.SetActive(kGroup, 1);
}

}  // namespace mod2neu::sample
