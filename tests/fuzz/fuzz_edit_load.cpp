// The edit load and the table write after it, on any bytes.
#include "cursormap/map_file.h"
#include "fuzz_session.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    mv::fuzz::FuzzSession f;
    const QString path = mv::fuzz::inputFile(data, size);
    mv::editLoad(f.s, path);
    mv::tableWrite(f.s, path + QStringLiteral(".out"));
    return 0;
}
