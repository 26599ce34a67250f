#include "resources/model_file.h"
#include "support/desktop.h"

namespace fs = std::filesystem;

namespace {

struct ToolRun {
    int status = -1;
    std::string output;  // stdout and stderr together
};

ToolRun RunConvert(const std::string& kind, const std::string& in, const std::string& out) {
    ToolRun run;
    run.output = Shell(std::string(VORMI_CONVERT_PATH) + " " + kind + " '" + in + "' '" + out + "' 2>&1", &run.status);
    return run;
}

// A small RGBA image with a different colour in every pixel, half of them translucent, saved as PNG.
void WriteTestPng(const std::string& path) {
    SDL_Surface* image = SDL_CreateRGBSurfaceWithFormat(0, 3, 2, 32, SDL_PIXELFORMAT_RGBA32);
    auto* p = static_cast<Uint8*>(image->pixels);
    for (int i = 0; i < 6; ++i) {
        const Uint8 rgba[4] = {Uint8(40 * i), Uint8(255 - 30 * i), Uint8(i % 2 ? 200 : 10), Uint8(i < 3 ? 255 : 128)};
        SDL_memcpy(p + (i / 3) * image->pitch + (i % 3) * 4, rgba, 4);
    }
    ASSERT_EQ(IMG_SavePNG(image, path.c_str()), 0);
    SDL_FreeSurface(image);
}

// Pixels as 0xAABBGGRR words, so that a mismatch prints which pixel and channel differ.
std::vector<uint32_t> PixelsOf(const std::string& path) {
    std::vector<uint32_t> pixels;
    for (Color c : ReadImage(path).pixels) pixels.push_back(c.r | c.g << 8 | c.b << 16 | uint32_t(c.a) << 24);
    return pixels;
}

const char* const kCubeObj =
    "mtllib cube.mtl\nv -1 -1 -1\nv 1 -1 -1\nv 1 1 -1\nv -1 1 -1\nv -1 -1 3\nv 1 -1 3\nv 1 1 3\nv -1 1 3\n"
    "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nusemtl skin\nf 5/1 6/2 7/3 8/4\nf 2/1 1/2 4/3 3/4\nf 6/1 2/2 3/3 7/4\n"
    "f 1/1 5/2 8/3 4/4\nf 8/1 7/2 3/3 4/4\nf 1/1 2/2 6/3 5/4\n";

// One quad, two triangles over four vertices, no normals, coloured by its material only; its buffer
// is the file quad.bin beside it.
std::string QuadBuffer() {
    const float positions[12] = {0, 0, 0, 2, 0, 0, 2, 1, 0, 0, 1, 0};
    const uint16_t indices[6] = {0, 1, 2, 0, 2, 3};
    return std::string(reinterpret_cast<const char*>(positions), sizeof(positions)) +
           std::string(reinterpret_cast<const char*>(indices), sizeof(indices));
}
const char* const kQuadGltf = R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],
"meshes":[{"primitives":[{"attributes":{"POSITION":0},"indices":1,"material":0}]}],
"materials":[{"pbrMetallicRoughness":{"baseColorFactor":[1,0.5,0,1]}}],"buffers":[{"byteLength":60,"uri":"quad.bin"}],
"bufferViews":[{"buffer":0,"byteOffset":0,"byteLength":48},{"buffer":0,"byteOffset":48,"byteLength":12}],
"accessors":[{"bufferView":0,"componentType":5126,"count":4,"type":"VEC3","min":[0,0,0],"max":[2,1,0]},
{"bufferView":1,"componentType":5123,"count":6,"type":"SCALAR"}]})";

using Convert = OffscreenTest;

TEST_F(Convert, ObjAndGltfLoadThroughTheModelManager) {
    dir_.WriteFile("in/cube.obj", kCubeObj);
    dir_.WriteFile("in/cube.mtl", "newmtl skin\nmap_Kd skin.png\n");
    WriteTestPng("in/skin.png");
    dir_.WriteFile("in/quad.gltf", kQuadGltf);
    dir_.WriteFile("in/quad.bin", QuadBuffer());
    struct { const char *in, *name; size_t vertices, indices; float min[3], max[3]; std::vector<uint32_t> pixels; }
        cases[] = {{"in/cube.obj", "cube", 24, 36, {-1, -1, -1}, {1, 1, 3}, PixelsOf("in/skin.png")},
                   {"in/quad.gltf", "quad", 4, 6, {0, 0, 0}, {2, 1, 0}, {0xFF0080FF}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.in);
        const std::string name = std::string(c.name) + ".vmdl";
        const ToolRun run = RunConvert("model", c.in, "test/models/" + name);
        ASSERT_EQ(run.status, 0) << run.output;
        EXPECT_EQ(run.output, "test/models/" + name + ": " + std::to_string(c.vertices) + " vertices, " +
                                  std::to_string(c.indices / 3) + " triangles, 1 materials\n");
        // The BMP is written beside the model; the texture manager looks in test/tex/.
        const std::string bmp = std::string(c.name) + "_0.bmp";
        fs::rename("test/models/" + bmp, "test/tex/" + bmp);
        const ModelBounds bounds = ModelFileBounds("test/models/" + name);
        for (int axis = 0; axis < 3; ++axis) {
            EXPECT_FLOAT_EQ(bounds.min[axis], c.min[axis]) << "axis " << axis;
            EXPECT_FLOAT_EQ(bounds.max[axis], c.max[axis]) << "axis " << axis;
        }
        const ModelRecord* model = g_modelMgr->GetModel(g_modelMgr->LoadModel(name));
        ASSERT_NE(model, nullptr);
        EXPECT_EQ(model->vertices.size(), c.vertices);
        EXPECT_EQ(model->indices.size(), c.indices);
        EXPECT_EQ(model->textureNames, std::vector<std::string>{bmp});
        ASSERT_EQ(model->sections.size(), 1u);
        EXPECT_EQ(model->sections[0].indexCount, c.indices);
        for (const ModelVertex& v : model->vertices) {
            EXPECT_FLOAT_EQ(v.nx * v.nx + v.ny * v.ny + v.nz * v.nz, 1.0f) << "generated normals are unit length";
        }
        int corners = 0;
        for (const ModelVertex& v : model->vertices) {
            // The cube's front face has vt 0 0 at (-1, -1): the image's bottom row, so v = 1 here.
            if (v.px == -1 && v.py == -1 && v.pz == 3 && v.nz == 1) {
                ++corners;
                EXPECT_EQ(v.u, 0.0f);
                EXPECT_EQ(v.v, 1.0f);
            }
        }
        EXPECT_EQ(corners, c.vertices == 24 ? 1 : 0);
        EXPECT_GT(model->textureHandles[0], 0);
        EXPECT_EQ(PixelsOf("test/tex/" + bmp), c.pixels);
    }
}

TEST_F(Convert, PngBecomesABmpWithTheSamePixels) {
    WriteTestPng("image.png");
    const ToolRun run = RunConvert("texture", "image.png", "test/tex/image.bmp");
    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(PixelsOf("test/tex/image.bmp"), PixelsOf("image.png"));
    const Texture* loaded = g_textureMgr->GetTexture(g_textureMgr->LoadTexture("image.bmp"));
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->width, 3);
}

TEST_F(Convert, BadInputGetsOneLineExitOneAndNoOutput) {
    dir_.WriteFile("garbage.obj", "this is not a model\n");
    dir_.WriteFile("lines.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nl 1 2 3\n");
    dir_.WriteFile("noise.gltf", std::string("{\"asset\":{\"version\":\"2.0\"},\"meshes\":[{]"));
    dir_.WriteFile("garbage.png", "\x89PNG\r\n\x1a\nnot really");
    dir_.WriteFile("good.obj", kCubeObj);
    const struct { const char *kind, *in, *out, *reason; } cases[] = {
        {"model", "missing.obj", "out/m.vmdl", "missing.obj: No such file or directory"},
        {"model", "test", "out/m.vmdl", "test: not a regular file"},
        {"model", "garbage.obj", "out/m.vmdl", "garbage.obj: not a 3D model this tool reads"},
        {"model", "noise.gltf", "out/m.vmdl", "noise.gltf: not a 3D model this tool reads"},
        {"model", "lines.obj", "out/m.vmdl", "lines.obj: the model has no triangles"},
        {"model", "good.obj", "nowhere/m.vmdl", "nowhere/m_0.bmp: cannot write"},
        {"texture", "missing.png", "out/t.bmp", "missing.png: No such file or directory"},
        {"texture", "garbage.png", "out/t.bmp", "garbage.png: not an image this tool reads"},
        {"texture", "garbage.obj", "nowhere/t.bmp", "garbage.obj: not an image this tool reads"},
    };
    fs::create_directory("out");
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.kind) + " " + c.in);
        const ToolRun run = RunConvert(c.kind, c.in, c.out);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.output.rfind(std::string("vormi-convert: ") + c.reason, 0), 0u) << run.output;
        EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 1) << run.output;
        EXPECT_TRUE(fs::is_empty("out")) << "something was left in out/";
    }
    EXPECT_EQ(RunConvert("model", "good.obj", "").status, 1) << "an empty output name is a bad output";
    EXPECT_EQ(RunConvert("mesh", "good.obj", "out/m.vmdl").status, 2) << "usage";
}

}  // namespace
