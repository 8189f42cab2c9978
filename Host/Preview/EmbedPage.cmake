# Writes OUTPUT, a C++ file holding every file of PAGE_DIR as bytes, for PageFiles.h.
# cmake -DPAGE_DIR=... -DOUTPUT=... -P EmbedPage.cmake
file(GLOB files RELATIVE ${PAGE_DIR} ${PAGE_DIR}/*)
list(SORT files)
set(arrays "")
set(table "")
set(index 0)
foreach(name ${files})
  file(READ ${PAGE_DIR}/${name} hex HEX)
  string(LENGTH "${hex}" length)
  math(EXPR size "${length} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(REGEX REPLACE "((0x..,){32})" "\\1\n" bytes "${bytes}")
  if(name MATCHES "\\.html$")
    set(type "text/html; charset=utf-8")
  elseif(name MATCHES "\\.js$")
    set(type "text/javascript; charset=utf-8")
  elseif(name MATCHES "\\.css$")
    set(type "text/css; charset=utf-8")
  elseif(name MATCHES "\\.svg$")
    set(type "image/svg+xml")
  else()
    set(type "application/octet-stream")
  endif()
  string(APPEND arrays "const unsigned char kFile${index}[] = {\n${bytes}0};\n")
  string(APPEND table "    {\"${name}\", \"${type}\", kFile${index}, ${size}},\n")
  math(EXPR index "${index} + 1")
endforeach()
file(WRITE ${OUTPUT}.new "// Generated from Host/Preview/page by EmbedPage.cmake; edit the page, not this.
#include \"PageFiles.h\"

namespace fxhost {

namespace {

${arrays}
const PageFile kFiles[] = {
${table}};

}  // namespace

const PageFile* findPageFile(const std::string& name) {
    for (const PageFile& file : kFiles) {
        if (name == file.name) return &file;
    }
    return nullptr;
}

}  // namespace fxhost
")
# Rewritten only when it changes, so that an unchanged page compiles nothing.
file(COPY_FILE ${OUTPUT}.new ${OUTPUT} ONLY_IF_DIFFERENT)
file(REMOVE ${OUTPUT}.new)
