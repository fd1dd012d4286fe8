#include <cstddef>

#include "sample/parts.h"
#include "sample/wing_box.h"

namespace mod2neu::sample {

namespace {

constexpr std::size_t kOptions = 90;  // entries of the table of drawing options

// What is drawn, in which colour and how it is labelled: four parallel arrays.
void SetOption(Record& view, std::size_t option, std::uint8_t label, std::uint16_t colour,
               std::uint8_t colourMode, std::uint8_t drawn) {
    view.U8(652 + option, label).U16(742 + 2 * option, colour);
    view.U8(1012 + option, colourMode).U8(922 + option, drawn);
}

void SetCamera(Record& view) {
    view.F64(40, -60.0, 0.0, 30.0);                    // rotations in degrees
    view.F64(64, kRootChord / 2, kSemiSpan / 2, 0.0);  // what it looks at
    view.F64(88, 0.85, 1.0);                           // scales
    view.F64(1128, 0.0, 0.0, 0.0).F64(1152, 10.0);     // how far away it stands
    view.F32(104, 0.0, 0.0, 1.0, 1.0);                 // the part of the window it fills
    view.F64(1168, 0.0, 0.0, 0.0).F64(1192, 0.0, kRibPitch, 0.0).F64(1216, kRibPitch);
}

// The tip shear's deflection, with the stress as colours.
void SetResults(Record& view) {
    view.I32(128, kTipShear, 1, 5).I32(1104, 1);
    view.F32(264, 0.1, 0.0, 1.0, 100.0).F32(280, 0.0, 123.12e6, 0.0, 1.0, 2.0);
    view.U16(320, 2, 16).I32(1352, 1, 2, 3, 4, 5);
    view.Text(556, 26, "Deflection").Text(582, 26, "von Mises stress");
    view.I32(608, kTipShear).U8(612, 1).I16(614, -1, 16);
    view.F32(620, 0.02, 0.05, 0.25, 0.9);
}

// Twelve contour levels from nothing to the largest stress, 123.12 MPa.
void SetLevels(Record& view) {
    constexpr std::size_t kLevels = 12;
    for (std::size_t level = 0; level < kLevels; ++level) {
        view.I16(424 + 2 * level, 10 + level);
        view.F64(328 + 8 * level, 123.12e6 * static_cast<double>(level + 1) / kLevels);
    }
}

}  // namespace

void PutView(ModelWriter& model) {
    Record view(kView);
    view.Text(0, 28, "Upper skin, oblique").I32(28, 1, 0, kGlobal);
    SetCamera(view);
    SetResults(view);
    SetLevels(view);
    view.I16(122, -1).U8(120, 1).U8(124, 1).U16(126, kWhite);
    view.I32(156, 1, 1).I32(192, kGrey, kGreen).I32(228, 0, 1);
    view.U8(1380, 1).U8(1464, 1).F64(1472, 0.02);
    for (std::size_t option = 0; option < kOptions; ++option) {
        SetOption(view, option, 0, kGrey, 1, 0);
    }
    SetOption(view, kNode, 1, kGreen, 0, 1);
    SetOption(view, kElement, 1, kWhite, 2, 1);
    SetOption(view, kCoordSys, 2, kRed, 0, 1);
    model.Put(1, view);
    model.PutFlags(kViewIdSet, 1, {{1, 2}});
    model.SetActive(kView, 1);
}

}  // namespace mod2neu::sample
