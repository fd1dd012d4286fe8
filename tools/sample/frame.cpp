#include "sample/parts.h"
#include "sample/wing_box.h"

namespace mod2neu::sample {

namespace {

struct LayerRow {
    std::int32_t id;
    const char* title;
    std::uint16_t colour;
};

constexpr LayerRow kLayers[] = {
    {kGeometryLayer, "Geometry", kGrey},     {kSkinLayer, "Skins", kGreen},
    {kWebLayer, "Spars and ribs", kBlue},    {kStringerLayer, "Stringers", kRed},
    {kLoadLayer, "Loads, supports", kWhite},
};

struct VariableRow {
    const char* name;
    const char* expression;
    double value;
};

constexpr VariableRow kVariables[] = {
    {"SPAN", "5", kSemiSpan},
    {"PITCH", "SPAN/5", kRibPitch},
    {"CHORD", "1.2", kRootChord},
    {"SKIN", "8*0.00025", 0.002},
};

Record CoordSys(const char* title, double x, double y, double z, double aboutZ) {
    Record record(kCoordSys);
    record.I32(32, kGlobal);           // the system it is defined in
    record.F64(40, x, y, z);           // origin
    record.F64(64, 0.0, 0.0, aboutZ);  // rotations in degrees
    record.U8(88, 0);                  // rectangular
    record.I32(168, kGeometryLayer);
    record.U16(172, kGrey);
    return record.Text(174, 26, title);
}

Record Label(const char* text, double y) {
    Record record(kText);
    record.U8(0, 1);
    record.F64(8, kRootChord / 2, y, 0.5);  // where the text stands
    record.F64(32, kRootChord / 2, y, HalfDepthAt(y));
    record.U8(56, 2, 1);
    record.I32(60, 0);
    record.Text(66, 258, text);
    record.I32(324, kGeometryLayer);
    return record.U16(330, kGrey, kGrey, kWhite);  // the last one is the text's own colour
}

}  // namespace

void PutFrame(ModelWriter& model) {
    model.Put(kRootSystem, CoordSys("Root", 0, 0, 0, 0));
    model.Put(kTipSystem, CoordSys("Tip", kTipChord / 2, kSemiSpan, 0, 90));
    model.Put(1, Label("Wing box, half model\nUnits: m, N, kg, s", 0));
    model.Put(2, Label("Tip fitting", kSemiSpan));

    std::int32_t id = 0;
    for (const VariableRow& row : kVariables) {
        Record record(kVariable);
        record.F64(0, row.value).Text(8, 20, row.name).Text(28, 164, row.expression);
        model.Put(++id, record);
    }
    for (const LayerRow& row : kLayers) {
        model.Put(row.id, Record(kLayer).Text(8, 26, row.title).U16(34, row.colour));
    }
}

}  // namespace mod2neu::sample
