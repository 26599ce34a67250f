// Model files through the model manager, with the renderer named by VORMI_FUZZ_RENDERER at build
// time (the OpenGL one uploads the geometry). A record never holds more than its file could.
#include "fuzz_support.h"
#include "render/renderer.h"
#include "resources/model_mgr.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    StartEngine(VORMI_FUZZ_RENDERER);
    WriteFile("./test/models/fuzz.vmdl", data, size);
    const int handle = g_modelMgr->LoadModel("fuzz.vmdl");
    if (handle > 0) {
        const ModelRecord* model = g_modelMgr->GetModel(handle);
        uint64_t bytes = model->vertices.size() * sizeof(ModelVertex) + model->indices.size() * sizeof(uint32_t) +
                         model->sections.size() * sizeof(ModelSection) + uint64_t(model->bufferIndexCount) * 4;
        for (const std::string& name : model->textureNames) {
            bytes += name.size();
        }
        FUZZ_CHECK(bytes <= size, "a %zu-byte file gave %llu bytes of arrays", size,
                   static_cast<unsigned long long>(bytes));
        FUZZ_CHECK(model->textureHandles.size() == model->textureNames.size(), "one handle per texture name");
        g_renderer->Begin2D();
        g_renderer->DrawModel(const_cast<ModelRecord*>(model), 0, 0, -5, 0, 0, 0);
        g_modelMgr->UnloadModel(handle);
    }
    ForgetOutput();
    return 0;
}
