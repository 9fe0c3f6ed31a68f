# Writes a source file with the files of a page in it, each as one text:
# cmake -DOUTPUT=<file> -DFOLDER=<folder> -P OrvexEmbed.cmake
set(types html "text/html" css "text/css" js "text/javascript" svg "image/svg+xml")
file(GLOB files RELATIVE ${FOLDER} ${FOLDER}/*)
list(SORT files)
set(texts "")
set(rows "")
foreach(name IN LISTS files)
    get_filename_component(ending ${name} LAST_EXT)
    string(SUBSTRING ${ending} 1 -1 ending)
    list(FIND types ${ending} at)
    math(EXPR at "${at} + 1")
    list(GET types ${at} type)
    string(MAKE_C_IDENTIFIER ${name} variable)
    file(READ ${FOLDER}/${name} content)
    string(APPEND texts "constexpr std::string_view ${variable} = R\"~~~(${content})~~~\";\n")
    string(APPEND rows "    {\"/${name}\", \"${type}; charset=utf-8\", ${variable}},\n")
endforeach()
file(WRITE ${OUTPUT} "#include \"orvex/view/page.h\"

namespace orvex::view {

namespace {

${texts}
constexpr PageFile files[] = {
${rows}};

}  // namespace

std::span<const PageFile> page_files() {
    return files;
}

}  // namespace orvex::view
")
