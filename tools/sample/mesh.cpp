#include <initializer_list>

#include "sample/parts.h"
#include "sample/wing_box.h"

namespace mod2neu::sample {

namespace {

Record NodeAt(double x, double y, double z, std::int32_t outputSystem) {
    Record record(kNode);
    record.I32(20, outputSystem);
    record.I32(24, kGlobal);  // the system its location is given in
    record.F64(32, x, y, z);
    return record.I32(64, kSkinLayer).U16(68, kGreen);
}

Record ElementOf(std::int32_t kind, std::int32_t property, std::int32_t layer, std::uint16_t colour,
                 std::initializer_list<std::int32_t> nodes) {
    Record record(kElement);
    record.I32(12, property, kind);
    std::size_t slot = 24;
    for (const std::int32_t node : nodes) {
        record.I32(slot, node);
        slot += sizeof(node);
    }
    record.I32(124, nodes.size());
    return record.U16(128, colour).I32(132, layer);
}

void PutNodes(ModelWriter& model) {
    for (int rib = 1; rib <= kRibs; ++rib) {
        const double y = RibY(rib);
        for (int station = 1; station <= kStations; ++station) {
            const double x = StationX(rib, station);
            model.Put(NodeId(rib, station), NodeAt(x, y, HalfDepthAt(y), kGlobal));
            model.Put(NodeId(rib, station, true), NodeAt(x, y, -HalfDepthAt(y), kGlobal));
        }
    }
    model.Put(kTipNode, NodeAt(kTipChord / 2, kSemiSpan, 0, kTipSystem));
}

void PutSkins(ModelWriter& model) {
    for (const bool lower : {false, true}) {
        for (int bay = 1; bay <= kBays; ++bay) {
            for (int cell = 1; cell <= kCells; ++cell) {
                model.Put(
                    SkinPanelId(bay, cell, lower),
                    ElementOf(kLaminateKind, kSkin, kSkinLayer, kGreen,
                              {NodeId(bay, cell, lower), NodeId(bay, cell + 1, lower),
                               NodeId(bay + 1, cell + 1, lower), NodeId(bay + 1, cell, lower)}));
            }
        }
    }
}

void PutSpars(ModelWriter& model) {
    for (const bool rear : {false, true}) {
        const int station = rear ? kStations : 1;
        for (int bay = 1; bay <= kBays; ++bay) {
            model.Put(SparPanelId(rear, bay),
                      ElementOf(kPlateKind, kSparWeb, kWebLayer, kBlue,
                                {NodeId(bay, station, true), NodeId(bay + 1, station, true),
                                 NodeId(bay + 1, station), NodeId(bay, station)}));
        }
    }
}

void PutRibs(ModelWriter& model) {
    for (int rib = 1; rib <= kRibs; ++rib) {
        for (int cell = 1; cell <= kCells; ++cell) {
            model.Put(RibPanelId(rib, cell),
                      ElementOf(kPlateKind, kRibWeb, kWebLayer, kBlue,
                                {NodeId(rib, cell, true), NodeId(rib, cell + 1, true),
                                 NodeId(rib, cell + 1), NodeId(rib, cell)}));
        }
    }
}

// Blades inside the skins along the two inner stations.
void PutStringers(ModelWriter& model) {
    for (const bool lower : {false, true}) {
        const double inwards = lower ? 0.015 : -0.015;
        for (int bay = 1; bay <= kBays; ++bay) {
            for (int station = 2; station < kStations; ++station) {
                Record blade =
                    ElementOf(kBarKind, kStringer, kStringerLayer, kRed,
                              {NodeId(bay, station, lower), NodeId(bay + 1, station, lower)});
                blade.F64(144, 0, 0, 1);                                // its upward direction
                blade.F64(168, 0, 0, inwards).F64(192, 0, 0, inwards);  // offsets of its ends
                model.Put(StringerId(bay, station, lower), blade);
            }
        }
    }
}

// The tip node leads the eight nodes of the tip rib, each with an equal share.
void PutTipSpreader(ModelWriter& model) {
    Record spreader = ElementOf(kSpreaderKind, 0, kLoadLayer, kWhite, {kTipNode});
    model.Put(kTipSpreader, spreader.I32(104, kTipSpreader).U8(216, 1, 1, 1, 1, 1, 1));
    std::int32_t entry = 0;
    for (const bool lower : {false, true}) {
        for (int station = 1; station <= kStations; ++station) {
            Record share(kNodeListEntry);
            share.I32(0, NodeId(kRibs, station, lower)).I16(4, 1).F64(8, 0.125);
            model.PutUnder(kTipSpreader, ++entry, share.U8(16, 1, 1, 1));
        }
    }
}

// The front spar's webs, as they lean on the skin: element, side, node, code.
void PutContactSegment(ModelWriter& model) {
    Record segment(kContactSegment);
    segment.I32(8, 0).I32(12, kSparWeb).U8(16, 1).U16(18, kBlue).I32(20, kWebLayer);
    segment.Text(24, 32, "Front spar on skin");
    segment.F64(56, 0.3, 0.25, 0.0001, 0.002, 1.0, 0.0);  // friction at rest, sliding, ...
    model.Put(1, segment);
    for (int bay = 1; bay <= kBays; ++bay) {
        Record entry(kContactEntry);
        entry.I32(0, NodeId(bay, 1), SparPanelId(false, bay), 3).U8(12, 1);
        model.PutUnder(1, bay, entry);
    }
}

}  // namespace

void PutMesh(ModelWriter& model) {
    PutNodes(model);
    PutSkins(model);
    PutSpars(model);
    PutRibs(model);
    PutStringers(model);
    PutTipSpreader(model);
    PutContactSegment(model);
}

}  // namespace mod2neu::sample
