#include <string>
#include <string_view>

#include "sample/parts.h"
#include "sample/wing_box.h"

namespace mod2neu::sample {

namespace {

constexpr std::string_view kFormatLines[] = {
    "WING BOX - NODAL DISPLACEMENTS IN M",
    "",
    "    Node       Total          T1          T2          T3",
    "########  ####.#####  ####.#####  ####.#####  ####.#####",
    "",
    "Origin at the front of the root rib, T2 towards the tip",
    "End of list",
};

void PutOutputFormat(ModelWriter& model) {
    constexpr std::size_t kLineWidth = 133;
    Record format(kOutputFormat);
    format.I32(0, 1).U8(4, 1, 0, 1, 0);
    std::size_t line = 8;
    for (const std::string_view text : kFormatLines) {
        format.Text(line, kLineWidth, text);
        line += kLineWidth;
    }
    model.Put(1, format.Text(939, 29, "Nodal displacements"));
    model.SetActive(kOutputFormat, 1);
}

// One for each skin: its first and last panel, the property and its thickness.
void PutType45(ModelWriter& model) {
    std::int32_t id = 0;
    for (const bool lower : {false, true}) {
        Record record(kType45);
        record.I32(0, ++id, kSkin, SkinPanelId(1, 1, lower), SkinPanelId(kBays, kCells, lower), 0);
        record.I32(20, kElement, 1, 3).U8(32, 1);
        record.F64(40, 0.002, 0.001, 0.004);
        record.I32(64, kTipShear, 5).F64(72, 0.0, 345.0e6);
        model.Put(id, record);
    }
}

constexpr std::string_view kPurpose =
    "Half wing box for checks of the conversion.\r\n"
    "Five bays of 1 m, tapered from 1.2 m x 0.24 m to 0.6 m x 0.12 m.\r\n"
    "Laminate skins, aluminium spars, ribs and stringers.\r\n"
    "Two load cases with results of beam theory, EI = 2.0E6 N m2.";
constexpr std::string_view kToDo = "Compare the tip deflection of 0.2 m with the test.";

// The text and its terminator; chunks so small that the longer text takes several.
void PutStoredText(ModelWriter& model, std::int32_t number, std::string_view text) {
    constexpr std::size_t kChunk = 80;
    model.PutChunks(kStoredText, number, std::string(text) + '\0', kChunk);
}

}  // namespace

void PutRemarks(ModelWriter& model) {
    PutOutputFormat(model);
    PutType45(model);
    PutStoredText(model, 1, kPurpose);
    PutStoredText(model, 2, kToDo);
}

}  // namespace mod2neu::sample
