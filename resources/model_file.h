// The engine's model file, whole: what the model manager reads, written and read here for the
// converter, the viewer and the host. A file is a 76-byte header, a 60-byte mesh header, the vertex,
// index and section arrays and a string table of texture names (docs/model-format.md, byte by byte).
// Everything here is plain C++ over byte strings and files, so tools can use it without the engine.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "resources/model_mgr.h"

struct ModelFileContents {
    std::vector<ModelVertex> vertices;
    std::vector<uint32_t> indices;
    std::vector<ModelSection> sections;
    std::vector<std::string> textureNames;
};

// Axis-aligned box of a model's vertex positions; empty when the model has no vertices.
struct ModelBounds {
    float min[3] = {0.0f, 0.0f, 0.0f};
    float max[3] = {0.0f, 0.0f, 0.0f};
    bool empty = true;
};

// The file's bytes. False, with the reason, when the contents cannot be held by the format (offsets
// and counts are signed 32-bit, a texture name cannot hold a zero byte or be empty).
bool EncodeModelFile(const ModelFileContents& contents, std::string& bytes, std::string& error);

// Strict reading: false, with the reason, when the magic is wrong or any block lies outside the file,
// so a reader never guesses. Counts are checked against the file's size before anything is allocated.
bool DecodeModelFile(const std::string& bytes, ModelFileContents& contents, std::string& error);

// The whole file; false when it cannot be read.
bool ReadWholeFile(const std::string& path, std::string& bytes);

// The bounds of the positions in the file at path; empty when the file is not a readable model.
ModelBounds ModelFileBounds(const std::string& path);
// The bounds of the given vertices.
ModelBounds VertexBounds(const std::vector<ModelVertex>& vertices);
