#include "jet/support/samples.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace qmtrain::test {

const std::vector<Sample>& Samples() {
    static const std::vector<Sample> samples = {
        {"adox_jet4.mdb", 4, 24, 7, 32},
        {"nwind.mdb", 19, 7508, 47, 21747},
        {"V1997/indexTestV1997.mdb", 10, 162, 17, 209},
        {"V1997/overflowTestV1997.mdb", 7, 85, 8, 97},
        {"V1997/testV1997.mdb", 10, 92, 18, 116},
        {"V2003/compIndexTestV2003.mdb", 10, 659, 16, 723},
        {"V2003/delColTestV2003.mdb", 10, 164, 17, 230},
        {"V2003/delTestV2003.mdb", 11, 165, 18, 228},
        {"V2003/fixedNumericTestV2003.mdb", 11, 169, 18, 233},
        {"V2003/indexTestV2003.mdb", 12, 184, 23, 292},
        {"V2003/overflowTestV2003.mdb", 10, 168, 15, 224},
        {"V2003/test2V2003.mdb", 10, 146, 17, 211},
        {"V2003/testUnicodeCompV2003.mdb", 12, 177, 20, 272},
        {"V2003/testV2003.mdb", 13, 181, 25, 249},
    };
    return samples;
}

std::filesystem::path SampleFolder() {
    const char* given = std::getenv("QMTRAIN_SAMPLES");
    return given != nullptr ? given : QMTRAIN_SAMPLE_DIR;
}

std::filesystem::path Sample::Path() const {
    return SampleFolder() / file;
}

SampleCopy::SampleCopy(const Sample& sample) : path_(folder_.Path() / sample.Path().filename()) {
    WriteFile(path_, ReadFile(sample.Path()));
    database_ = jet::Database::Open(path_);
}

std::vector<std::shared_ptr<jet::Table>> AllTables(jet::Database& database) {
    std::vector<std::shared_ptr<jet::Table>> tables;
    for (const jet::CatalogObject& object : database.Objects()) {
        if (object.type == jet::CatalogObject::kTable) tables.push_back(database.FindTable(object.name));
    }
    return tables;
}

std::vector<std::uint8_t> ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace qmtrain::test
