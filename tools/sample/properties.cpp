#include <initializer_list>

#include "sample/parts.h"
#include "sample/wing_box.h"

namespace mod2neu::sample {

namespace {

constexpr std::int32_t kSkinLaminate = 3;
constexpr double kPlyThickness = 0.00025;
constexpr double kPlyAngles[] = {45, -45, 0, 90, 90, 0, -45, 45};

Record Property(const char* title, std::int32_t kind, std::int32_t material, std::int32_t layer,
                std::uint16_t colour) {
    Record record(kProperty);
    record.I32(12, material).I32(376, kind);
    record.U16(1904, colour).I32(1908, layer);
    return record.Text(1912, 32, title);
}

Record SkinLaminate() {
    constexpr std::size_t kFirstPly = 8;
    constexpr std::size_t kPlySize = 24;
    Record record(kLaminate);
    record.I32(0, std::size(kPlyAngles));
    std::size_t ply = kFirstPly;
    for (const double angle : kPlyAngles) {
        record.F64(ply, kPlyThickness, angle).U8(ply + 16, 1);
        ply += kPlySize;
    }
    return record;
}

}  // namespace

void PutProperties(ModelWriter& model) {
    // The first real of a plate is its thickness.
    model.Put(kSparWeb,
              Property("Spar web 4 mm", kPlateKind, kAluminium, kWebLayer, kBlue).F64(384, 0.004));
    model.Put(kRibWeb,
              Property("Rib web 2 mm", kPlateKind, kAluminium, kWebLayer, kBlue).F64(384, 0.002));

    Record skin = Property("Skin laminate 2 mm", kLaminateKind, kCarbonPly, kSkinLayer, kGreen);
    skin.I32(16, kCarbonPly, kCarbonPly, kCarbonPly, kCarbonPly, kCarbonPly, kCarbonPly, kCarbonPly,
             kCarbonPly);  // the material of each ply
    skin.F64(384, std::size(kPlyAngles) * kPlyThickness);
    skin.F64(816, kSkinLaminate);
    model.Put(kSkin, skin);
    model.PutUnder(kSkinLaminate, 1, SkinLaminate());

    // A blade of 30 mm by 4 mm: area, second moments, torsion constant.
    Record blade = Property("Stringer 30 x 4 mm", kBarKind, kAluminium, kStringerLayer, kRed);
    blade.I8(380, 1, -1).F64(384, 0.00012, 9.0e-9, 1.6e-10, 6.4e-10);
    model.Put(kStringer, blade);
}

}  // namespace mod2neu::sample
