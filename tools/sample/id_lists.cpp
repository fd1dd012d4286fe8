#include <utility>
#include <vector>

#include "sample/parts.h"
#include "sample/wing_box.h"

namespace mod2neu::sample {

namespace {

// The nodes in the eight corners of the box, by corner point.
void PutPointLists(ModelWriter& model) {
    const std::pair<std::int32_t, std::int32_t> corners[] = {
        {1, NodeId(1, 1)},
        {2, NodeId(1, kStations)},
        {3, NodeId(1, kStations, true)},
        {4, NodeId(1, 1, true)},
        {5, NodeId(kRibs, 1)},
        {6, NodeId(kRibs, kStations)},
        {7, NodeId(kRibs, kStations, true)},
        {8, NodeId(kRibs, 1, true)},
    };
    for (const auto& [point, node] : corners) {
        model.PutIdList(kPointIdList, point, {node});
    }
}

void PutCurveLists(ModelWriter& model) {
    // The front spar cap, from tip to root; the list comes out sorted.
    std::vector<std::int32_t> nodes;
    for (int rib = kRibs; rib >= 1; --rib) {
        nodes.push_back(NodeId(rib, 1));
    }
    model.PutIdList(kCurveIdList, 9, nodes);
    // The upper edge of the tip rib: a range, with a node named twice.
    model.PutIdList(kCurveIdList, 5, {601, -604, 602});
}

// The panels of a skin as one range for each bay.
std::vector<std::int32_t> SkinRanges(bool lower) {
    std::vector<std::int32_t> entries;
    for (int bay = 1; bay <= kBays; ++bay) {
        entries.push_back(SkinPanelId(bay, 1, lower));
        entries.push_back(-SkinPanelId(bay, kCells, lower));
    }
    return entries;
}

// Every panel around the volume one by one, which takes a second chunk.
std::vector<std::int32_t> AllPanels() {
    std::vector<std::int32_t> panels;
    for (int bay = 1; bay <= kBays; ++bay) {
        panels.push_back(SparPanelId(false, bay));
        panels.push_back(SparPanelId(true, bay));
        for (int cell = 1; cell <= kCells; ++cell) {
            panels.push_back(SkinPanelId(bay, cell));
            panels.push_back(SkinPanelId(bay, cell, true));
        }
    }
    for (int cell = 1; cell <= kCells; ++cell) {
        panels.push_back(RibPanelId(1, cell));
        panels.push_back(RibPanelId(kRibs, cell));
    }
    return panels;
}

}  // namespace

void PutIdLists(ModelWriter& model) {
    PutPointLists(model);
    PutCurveLists(model);
    model.PutIdList(kSurfaceIdList, 1, SkinRanges(false));
    model.PutIdList(kSurfaceIdList, 2, SkinRanges(true));
    model.PutIdList(kSolidIdList, 1, AllPanels());
}

}  // namespace mod2neu::sample
