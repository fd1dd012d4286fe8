#pragma once

#include "sample/model_writer.h"

// The parts of the sample model, one file each. They may be stored in any order.
namespace mod2neu::sample {

void PutFrame(ModelWriter& model);        // coordinate systems, texts, variables, layers
void PutGeometry(ModelWriter& model);     // points, curves, surfaces, bodies
void PutIdLists(ModelWriter& model);      // what has been meshed on the geometry
void PutMaterials(ModelWriter& model);    // materials and the functions they refer to
void PutProperties(ModelWriter& model);   // properties and the skin's laminate
void PutMesh(ModelWriter& model);         // nodes, elements, a contact segment
void PutConstraints(ModelWriter& model);  // constraint sets
void PutLoads(ModelWriter& model);        // load sets
void PutGroups(ModelWriter& model);       // groups
void PutView(ModelWriter& model);         // a view
void PutRemarks(ModelWriter& model);      // output formats, records of type 45, stored texts
void PutResults(ModelWriter& model);      // output sets and their vectors

}  // namespace mod2neu::sample
