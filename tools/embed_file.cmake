# cmake -DINPUT=file -DOUTPUT=file.cpp -P embed_file.cmake
# Writes a C++ source defining the bytes of INPUT as vqz::sampleData / vqz::sampleSize.
file(READ ${INPUT} hex HEX)
string(LENGTH "${hex}" hexLength)
math(EXPR size "${hexLength} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
string(REGEX REPLACE "((0x..,){32})" "\\1\n" bytes "${bytes}")
file(WRITE ${OUTPUT}.tmp
  "// Generated from ${INPUT}; do not edit.\n"
  "#include <cstddef>\n"
  "namespace vqz {\n"
  "extern const unsigned char sampleData[] = {\n${bytes}\n};\n"
  "extern const size_t sampleSize = ${size};\n"
  "}\n")
file(RENAME ${OUTPUT}.tmp ${OUTPUT})
