# Checks the pages that users and maintainers read against the code they describe:
#
#     cmake -DSOURCE_DIR=. -P tests/docs/pages_match_code.cmake
#
# docs/neutral-file.md must list every block of the Neutral file in the order in which the driver
# writes them, once in its table and once as a heading; README.md must hold every message.

cmake_minimum_required(VERSION 3.22)

set(blocksPage ${SOURCE_DIR}/docs/neutral-file.md)

function(fail_if_different what expected found)
    if(NOT expected STREQUAL found)
        message(FATAL_ERROR "${what}\n  in the code: ${expected}\n  on the page: ${found}")
    endif()
endfunction()

# Sets ${number_of_<name>} for every block of the enumeration, and `result` to all the names.
macro(read_block_numbers result)
    file(STRINGS ${SOURCE_DIR}/src/blocks/block_writers.h lines REGEX "^ *k[A-Za-z0-9]+ = [0-9]+,")
    set(${result} "")
    foreach(line IN LISTS lines)
        string(REGEX MATCH "k([A-Za-z0-9]+) = ([0-9]+)," line "${line}")
        set(number_of_${CMAKE_MATCH_1} ${CMAKE_MATCH_2})
        list(APPEND ${result} ${CMAKE_MATCH_1})
    endforeach()
endmacro()

# The blocks by name as the driver writes them. WriteNodeBlock writes kNodeBlock, and so on; the
# header block is the driver's own and the first.
function(read_block_order result)
    file(STRINGS ${SOURCE_DIR}/src/neutral/conversion.cpp lines
         REGEX "^ *{Section::[A-Za-z]+, +Write[A-Za-z0-9]+Blocks?}")
    set(names HeaderBlock)
    foreach(line IN LISTS lines)
        string(REGEX MATCH "Write([A-Za-z0-9]+Block)s?}" line "${line}")
        list(APPEND names ${CMAKE_MATCH_1})
    endforeach()
    set(${result} ${names} PARENT_SCOPE)
endfunction()

# The block numbers at the start of the page's lines that match `pattern`.
function(read_page_numbers pattern result)
    file(STRINGS ${blocksPage} lines REGEX "^${pattern}[0-9][0-9][0-9] ")
    list(TRANSFORM lines REPLACE "^${pattern}([0-9]+) .*" "\\1")
    set(${result} ${lines} PARENT_SCOPE)
endfunction()

read_block_numbers(declared)
read_block_order(written)
list(LENGTH written count)
if(count LESS 2)
    message(FATAL_ERROR "no block order found in src/neutral/conversion.cpp")
endif()
set(order "")
foreach(name IN LISTS written)
    if(NOT DEFINED number_of_${name})
        message(FATAL_ERROR "${name} is written but has no number in src/blocks/block_writers.h")
    endif()
    list(APPEND order ${number_of_${name}})
    list(REMOVE_ITEM declared ${name})
endforeach()
if(declared)
    message(FATAL_ERROR "blocks with a number that the driver never writes: ${declared}")
endif()

read_page_numbers("\\| " table)
read_page_numbers("### " headings)
fail_if_different("docs/neutral-file.md: block table" "${order}" "${table}")
fail_if_different("docs/neutral-file.md: headings" "${order}" "${headings}")

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
