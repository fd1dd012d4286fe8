# Checks the pages that users and maintainers read against the code they describe:
#
#     cmake -DSOURCE_DIR=. -P tests/docs/pages_match_code.cmake
#
# docs/neutral-file.md must list every block of the Neutral file in the order in which the driver
# writes them, once in its table and once as a heading; README.md must hold every message.

cmake_minimum_required(VERSION 3.22)

file(STRINGS ${SOURCE_DIR}/src/blocks/block_writers.h declared REGEX "^ *k[A-Za-z0-9]+ = [0-9]+,")

# WriteNodeBlock writes kNodeBlock, and so on; the header block is the driver's own and the first.
file(STRINGS ${SOURCE_DIR}/src/neutral/conversion.cpp writers
     REGEX "^ *{Section::[A-Za-z]+, +Write[A-Za-z0-9]+Blocks?}")
list(TRANSFORM writers REPLACE ".*Write([A-Za-z0-9]+Block)s?}.*" "\\1")
list(PREPEND writers HeaderBlock)
foreach(name IN LISTS writers)
    set(declaration ${declared})
    list(FILTER declaration INCLUDE REGEX "^ *k${name} = ")
    string(REGEX REPLACE "[^=]*= ([0-9]+),.*" "\\1" number "${declaration}")
    list(APPEND order ${number})
endforeach()
list(LENGTH declared count)
list(LENGTH order written)
if(count LESS 2 OR NOT count EQUAL written)
    message(FATAL_ERROR "${count} blocks have a number, ${written} are written")
endif()

foreach(pattern "\\| " "### ")
    file(STRINGS ${SOURCE_DIR}/docs/neutral-file.md page REGEX "^${pattern}[0-9][0-9][0-9] ")
    list(TRANSFORM page REPLACE "^${pattern}([0-9]+) .*" "\\1")
    if(NOT order STREQUAL page)
        message(FATAL_ERROR "docs/neutral-file.md, ${pattern}\n  in the code: ${order}\n"
                            "  on the page: ${page}")
    endif()
endforeach()

# A message that breaks into two sentences may stand on the page as two.
file(READ ${SOURCE_DIR}/README.md readme)
file(STRINGS ${SOURCE_DIR}/src/shell/messages.cpp lines REGEX "^ *{MessageId::k.*\"}")
if(NOT lines)
    message(FATAL_ERROR "no messages found in src/shell/messages.cpp")
endif()
foreach(line IN LISTS lines)
    string(REGEX REPLACE ".*, *\"(.*)\"}.*" "\\1" text "${line}")
    string(REPLACE "\\n\\r\\n" ";" sentences "${text}")
    foreach(sentence IN LISTS sentences)
        string(FIND "${readme}" "${sentence}" place)
        if(place EQUAL -1)
            message(FATAL_ERROR "README.md lacks the message: ${sentence}")
        endif()
    endforeach()
endforeach()
message(STATUS "${count} blocks and all messages are on their pages")
