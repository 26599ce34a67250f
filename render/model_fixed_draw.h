// Models drawn without the model program: fixed-function lighting and texturing that read an uploaded
// model's vertices straight from its GPU buffers. The 3D view falls back to it while there is no model
// program (a shader_reload that failed), so a model on screen does not vanish with its shader.
#pragma once

struct ModelRecord;

// True when the OpenGL renderer has its model program, so DrawModel draws uploaded models.
bool ModelProgramReady();

// OpenGL renderer only. The same placement as IRenderer::DrawModel (translate, then rotate about x, y,
// z in degrees); a model that is not uploaded, or has no buffers, draws nothing here.
void DrawModelFixedFunction(const ModelRecord& model, float px, float py, float pz, float rx, float ry, float rz);
