#include "sample/parts.h"
#include "sample/wing_box.h"

namespace mod2neu::sample {

namespace {

// Along the first and across: for an isotropic material the same.
struct MaterialRow {
    std::int32_t id;
    const char* title;
    std::int32_t kind;  // 0 isotropic, 2 orthotropic in a plane
    double modulus1, modulus2, shearModulus, poisson;
    double density;
    double expansion1, expansion2;
    double referenceTemperature;
    double strength;
};

constexpr MaterialRow kMaterials[] = {
    {kAluminium, "Aluminium 2024-T3", 0, 73.1e9, 73.1e9, 28.0e9, 0.33, 2780.0, 22.9e-6, 22.9e-6,
     293.15, 345.0e6},
    {kCarbonPly, "Carbon/epoxy ply", 2, 135.0e9, 10.0e9, 5.0e9, 0.30, 1580.0, -0.3e-6, 28.0e-6,
     293.15, 1500.0e6},
};

struct Point {
    double x, y;
};

// Strain, and stress in Pa.
constexpr Point kStressStrainPoints[] = {
    {0, 0}, {0.004, 292.4e6}, {0.00672, 345.0e6}, {0.05, 420.0e6}, {0.15, 483.0e6}};

// Temperature in K, and modulus relative to room temperature.
constexpr Point kModulusPoints[] = {{218.15, 1.05}, {293.15, 1.0}, {393.15, 0.94}, {473.15, 0.85}};

template <std::size_t count>
void PutFunction(ModelWriter& model, std::int32_t id, const char* title, std::int32_t kind,
                 const Point (&points)[count]) {
    model.Put(id, Record(kFunction).Text(24, 28, title).I32(52, kind));
    std::int32_t position = 0;
    for (const Point& point : points) {
        model.PutUnder(id, ++position, Record(kFunctionPoint).F64(0, point.x, point.y));
    }
}

}  // namespace

void PutMaterials(ModelWriter& model) {
    for (const MaterialRow& row : kMaterials) {
        Record record(kMaterial);
        record.I32(4, row.kind);
        record.F64(312, row.modulus1, row.modulus2, row.shearModulus, row.poisson, row.density,
                   row.expansion1, row.expansion2, row.referenceTemperature, row.strength);
        record.U16(1922, row.kind == 0 ? kBlue : kGreen)
            .I32(1924, row.kind == 0 ? kWebLayer : kSkinLayer);
        record.Text(1928, 32, row.title);
        if (row.id == kAluminium) {
            record.I32(12, kStressStrain).U8(1912, 1);  // it may yield
        }
        model.Put(row.id, record);
    }
    model.Put(kAluminium, Record(kMaterialFunctions).I32(0, kModulusOverTemperature));

    PutFunction(model, kStressStrain, "2024-T3 stress-strain", 4, kStressStrainPoints);
    PutFunction(model, kModulusOverTemperature, "2024-T3 E over T", 2, kModulusPoints);
}

}  // namespace mod2neu::sample
