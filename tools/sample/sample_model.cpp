#include "sample/sample_model.h"

#include <cstdint>
#include <string_view>

#include "database/catalogue.h"
#include "database/close.h"
#include "database/database_file.h"
#include "sample/model_writer.h"
#include "sample/parts.h"
#include "shell/paths.h"
#include "shell/session.h"

namespace mod2neu::sample {

namespace {

constexpr double kVersion = 6.0;
constexpr std::string_view kModelTitle = "Wing box";

void PutEverything(ModelWriter& model) {
    model.SetTitle(kModelTitle);
    PutFrame(model);
    PutGeometry(model);
    PutIdLists(model);
    PutMaterials(model);
    PutProperties(model);
    PutMesh(model);
    PutConstraints(model);
    PutLoads(model);
    PutGroups(model);
    PutView(model);
    PutRemarks(model);
    PutResults(model);
}

// Fills the open, empty database and closes it.
bool FillDatabase(std::string& failure) {
    ModelWriter model;
    PutEverything(model);
    failure = model.Failure();
    if (!CloseModelSession() && failure.empty()) {
        failure = "it cannot be written";
    }
    return failure.empty();
}

}  // namespace

bool WriteSampleModel(const std::string& path, std::string& failure) {
    CurrentSession().ModelFileName = path;
    DeclareCatalogue();
    if (!CreateDatabase(kVersion)) {
        failure = "cannot create " + path;
        ResetDatabase();
        return false;
    }
    if (FillDatabase(failure)) {
        return true;
    }
    failure = "cannot finish " + path + ": " + failure;
    ResetDatabase();
    (void)DeleteFileByName(path);
    return false;
}

}  // namespace mod2neu::sample
