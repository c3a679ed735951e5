# Writes a C++ source that defines the bytes of a file, for the program to
# carry it inside: cmake -DINPUT=file -DOUTPUT=source.cpp -P embed_file.cmake
file(READ "${INPUT}" hex HEX)
file(SIZE "${INPUT}" size)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n" bytes "${bytes}")
file(WRITE "${OUTPUT}.tmp"
"// Generated from ${INPUT} by embed_file.cmake; do not edit.
#include \"cli/demo_document.hpp\"

namespace vesk {
namespace cli {

unsigned char const kDemoDocument[] = {
${bytes}0x00};
std::size_t const kDemoDocumentSize = ${size};

}  // namespace cli
}  // namespace vesk
")
file(RENAME "${OUTPUT}.tmp" "${OUTPUT}")
