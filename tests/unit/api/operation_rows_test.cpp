#include <cstdio>
#include <fstream>
#include <gmock/gmock.h>
#include <regex>
#include <sstream>

#include "operation_table.h"

// The rows of the operations, the public headers, the version script and the built library name
// the same functions.
namespace {

using Names = std::vector<std::string>;

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

Names ExportedRows() {
    Names names;
    for (const Operation& operation : Operations()) {
        if (operation.exported) names.push_back(operation.name);
    }
    return names;
}

// Names that a shared object defines for others.
Names DynamicSymbols(const std::string& path) {
    Names names;
    FILE* listing = popen(("nm -D --defined-only -P '" + path + "'").c_str(), "r");
    char line[512];
    while (fgets(line, sizeof line, listing)) {
        const std::string text = line;
        names.push_back(text.substr(0, text.find_first_of(" @")));
    }
    EXPECT_EQ(pclose(listing), 0);
    return names;
}

TEST(OperationRows, HeadersDeclareThem) {
    const std::string include = std::string(ORVEX_SOURCE_DIR) + "/include/orvex/";
    const std::string text = ReadFile(include + "orvex.h") + ReadFile(include + "orvex_legacy.h");
    const std::regex declaration(R"(\nORVEX_API [^(]*?(\w+)\()");
    Names declared;
    for (std::sregex_iterator found(text.begin(), text.end(), declaration), end; found != end;
         ++found)
        declared.push_back((*found)[1]);
    EXPECT_THAT(declared, testing::UnorderedElementsAreArray(ExportedRows()));
}

TEST(OperationRows, LibraryExportsThemAndNothingElse) {
    EXPECT_THAT(DynamicSymbols(std::string(ORVEX_LIBRARY_DIR) + "/liborvex.so"),
                testing::UnorderedElementsAreArray(ExportedRows()));
}

}  // namespace
