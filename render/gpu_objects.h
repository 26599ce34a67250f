// GPU objects made for the resource managers and given back by them. The managers keep the names in
// their records; only the renderer side knows which API they belong to.
#pragma once

#include "render/draw_types.h"

struct ModelRecord;

// Destroys the record's SDL texture and GL texture, if any, and zeroes those two fields.
void DestroyTextureObjects(Texture& texture);

// Under the GL renderer: moves the geometry into a vertex and an index buffer and frees the CPU
// copies. Vertex numbers past the vertices are uploaded as 0, and with no vertices no index is
// uploaded, so the GPU never reads outside the vertex buffer. Under any other renderer nothing happens.
void UploadModelGeometry(ModelRecord& model);

// Deletes the model's buffers, if any, and clears its uploaded state.
void DeleteModelBuffers(ModelRecord& model);
