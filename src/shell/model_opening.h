#pragma once

namespace mod2neu {

// Opens the model named by the session's ModelFileName: catalogue, status window, database,
// version test. False when the conversion cannot run; the reason has been shown, except for a
// model that has vanished.
[[nodiscard]] bool OpenModel();

}  // namespace mod2neu
