#include "blocks/entity_block.h"

#include "database/flag_set.h"
#include "shell/messages.h"

namespace mod2neu {

void WriteMembers(EntityType setType, std::int32_t database) {
    for (std::int32_t member = NextFlag(setType, database, -1); member <= kHighestId;
         member = NextFlag(setType, database, member)) {
        PutLong(member);
        EndLine();
    }
    PutLong(-1);
    EndLine();
}

void ReportTranslated(EntityType type, std::int32_t count) {
    ShowMessage(MSG_INFO, MessageId::kTranslated,
                {std::int64_t{count}, std::string_view(EntityTypeName(type))});
}

}  // namespace mod2neu
