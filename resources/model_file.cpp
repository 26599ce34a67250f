#include "resources/model_file.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

const char kMagic[4] = {'V', 'E', 'M', 'M'};
const size_t kFileHeaderSize = 76;
const size_t kMeshHeaderSize = 60;
// Field offsets inside the two headers; everything else in them is reserved and written as zero.
const size_t kMeshOffsetField = 44;
const size_t kStringTableOffsetField = 52;
const size_t kStringTableSizeField = 56;
const size_t kVertexCountField = 36;  // then vertex offset, index count, index offset, section count, offset
const uint64_t kLargestOffset = 0x7FFFFFFF;

void PutI32(std::string& bytes, size_t at, uint64_t value) {
    const uint32_t v = static_cast<uint32_t>(value);
    for (int i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<char>((v >> (8 * i)) & 0xFF);
    }
}

int64_t GetI32(const std::string& bytes, size_t at) {
    uint32_t v = 0;
    for (int i = 0; i < 4; ++i) {
        v |= static_cast<uint32_t>(static_cast<uint8_t>(bytes[at + i])) << (8 * i);
    }
    return static_cast<int32_t>(v);
}

template <typename T>
void Append(std::string& bytes, const std::vector<T>& array) {
    if (!array.empty()) {
        bytes.append(reinterpret_cast<const char*>(array.data()), array.size() * sizeof(T));
    }
}

// A block of count elements at offset must lie wholly inside the file.
bool BlockFits(int64_t offset, int64_t count, size_t elementSize, size_t fileSize) {
    if (offset < 0 || count < 0) {
        return false;
    }
    return static_cast<uint64_t>(offset) + static_cast<uint64_t>(count) * elementSize <= fileSize;
}

template <typename T>
void CopyBlock(const std::string& bytes, int64_t offset, int64_t count, std::vector<T>& array) {
    array.resize(static_cast<size_t>(count));
    if (count > 0) {
        std::memcpy(array.data(), bytes.data() + offset, static_cast<size_t>(count) * sizeof(T));
    }
}

}  // namespace

bool EncodeModelFile(const ModelFileContents& contents, std::string& bytes, std::string& error) {
    std::string table;
    for (const std::string& name : contents.textureNames) {
        if (name.empty() || name.find('\0') != std::string::npos) {
            error = "a texture name is empty or holds a zero byte";
            return false;
        }
        table += name;
        table += '\0';
    }
    const uint64_t vertexOffset = kFileHeaderSize + kMeshHeaderSize;
    const uint64_t indexOffset = vertexOffset + uint64_t(contents.vertices.size()) * sizeof(ModelVertex);
    const uint64_t sectionOffset = indexOffset + uint64_t(contents.indices.size()) * sizeof(uint32_t);
    const uint64_t tableOffset = sectionOffset + uint64_t(contents.sections.size()) * sizeof(ModelSection);
    if (tableOffset + table.size() > kLargestOffset) {
        error = "too large for the model format (its offsets are signed 32-bit)";
        return false;
    }

    bytes.assign(kFileHeaderSize + kMeshHeaderSize, '\0');
    std::memcpy(&bytes[0], kMagic, sizeof(kMagic));
    PutI32(bytes, kMeshOffsetField, kFileHeaderSize);
    PutI32(bytes, kStringTableOffsetField, tableOffset);
    PutI32(bytes, kStringTableSizeField, table.size());
    const uint64_t mesh[6] = {contents.vertices.size(), vertexOffset, contents.indices.size(),
                              indexOffset,              contents.sections.size(), sectionOffset};
    for (size_t i = 0; i < 6; ++i) {
        PutI32(bytes, kFileHeaderSize + kVertexCountField + 4 * i, mesh[i]);
    }
    Append(bytes, contents.vertices);
    Append(bytes, contents.indices);
    Append(bytes, contents.sections);
    bytes += table;
    return true;
}

bool DecodeModelFile(const std::string& bytes, ModelFileContents& contents, std::string& error) {
    if (bytes.size() < kFileHeaderSize || std::memcmp(bytes.data(), kMagic, sizeof(kMagic)) != 0) {
        error = "not a model file (no \"VEMM\" header)";
        return false;
    }
    const int64_t meshOffset = GetI32(bytes, kMeshOffsetField);
    if (!BlockFits(meshOffset, 1, kMeshHeaderSize, bytes.size())) {
        error = "the mesh header lies outside the file";
        return false;
    }
    int64_t mesh[6];
    for (size_t i = 0; i < 6; ++i) {
        mesh[i] = GetI32(bytes, static_cast<size_t>(meshOffset) + kVertexCountField + 4 * i);
    }
    const int64_t tableOffset = GetI32(bytes, kStringTableOffsetField);
    const int64_t tableSize = GetI32(bytes, kStringTableSizeField);
    if (!BlockFits(mesh[1], mesh[0], sizeof(ModelVertex), bytes.size()) ||
        !BlockFits(mesh[3], mesh[2], sizeof(uint32_t), bytes.size()) ||
        !BlockFits(mesh[5], mesh[4], sizeof(ModelSection), bytes.size()) ||
        !BlockFits(tableOffset, tableSize, 1, bytes.size())) {
        error = "a block lies outside the file";
        return false;
    }
    CopyBlock(bytes, mesh[1], mesh[0], contents.vertices);
    CopyBlock(bytes, mesh[3], mesh[2], contents.indices);
    CopyBlock(bytes, mesh[5], mesh[4], contents.sections);
    // Names end at a zero byte or at the end of the table; empty ones are skipped, as the engine does.
    contents.textureNames.clear();
    const std::string table = bytes.substr(static_cast<size_t>(tableOffset), static_cast<size_t>(tableSize));
    size_t start = 0;
    while (start < table.size()) {
        size_t end = table.find('\0', start);
        if (end == std::string::npos) {
            end = table.size();
        }
        if (end > start) {
            contents.textureNames.push_back(table.substr(start, end - start));
        }
        start = end + 1;
    }
    return true;
}

bool ReadWholeFile(const std::string& path, std::string& bytes) {
    // stdio rather than a stream: reading a folder must fail, not throw.
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) {
        return false;
    }
    bytes.clear();
    char buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof(buffer), f)) > 0) {
        bytes.append(buffer, n);
    }
    const bool ok = !std::ferror(f);
    std::fclose(f);
    return ok;
}

ModelBounds VertexBounds(const std::vector<ModelVertex>& vertices) {
    ModelBounds bounds;
    for (const ModelVertex& v : vertices) {
        const float p[3] = {v.px, v.py, v.pz};
        // A position that is not a finite number says nothing about where the model is.
        if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2])) {
            continue;
        }
        for (int axis = 0; axis < 3; ++axis) {
            if (bounds.empty || p[axis] < bounds.min[axis]) {
                bounds.min[axis] = p[axis];
            }
            if (bounds.empty || p[axis] > bounds.max[axis]) {
                bounds.max[axis] = p[axis];
            }
        }
        bounds.empty = false;
    }
    return bounds;
}

ModelBounds ModelFileBounds(const std::string& path) {
    std::string bytes;
    ModelFileContents contents;
    std::string error;
    if (!ReadWholeFile(path, bytes) || !DecodeModelFile(bytes, contents, error)) {
        return ModelBounds();
    }
    return VertexBounds(contents.vertices);
}
