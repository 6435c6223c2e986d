#include "peers/MesaRenderer.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl3.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <vector>

// From the extension GL_EXT_texture_filter_anisotropic, which the header of the core does not hold.
#ifndef GL_TEXTURE_MAX_ANISOTROPY_EXT
#define GL_TEXTURE_MAX_ANISOTROPY_EXT 0x84FE
#endif

namespace ornolith::peers {

namespace {

constexpr const char* vertexShader = R"(
uniform mat4 world;
uniform mat4 view;
uniform mat4 projection;
uniform mat3 normalMatrix;
layout(location = 0) in vec3 position;
layout(location = 1) in vec3 normal;
layout(location = 2) in vec2 coordinate;
layout(location = 3) in vec4 tangent;
out vec3 worldNormal;
out vec3 toCamera;
out vec2 textureCoordinate;
out vec4 worldTangent;
uniform vec3 eye;
void main() {
  vec4 place = world * vec4(position, 1.0);
  worldNormal = normalMatrix * normal;
  worldTangent = vec4(mat3(world) * tangent.xyz, tangent.w);
  toCamera = eye - place.xyz;
  textureCoordinate = coordinate;
  gl_Position = projection * (view * place);
}
)";

constexpr const char* fragmentShader = R"(
in vec3 worldNormal;
in vec3 toCamera;
in vec2 textureCoordinate;
in vec4 worldTangent;
out vec4 result;
uniform vec3 ambient;
uniform vec3 lightDirection;
uniform vec3 lightColor;
uniform vec4 diffuseValue;
uniform vec3 specularValue;
uniform float exponent;
uniform float roughness;
uniform float metalness;
uniform sampler2D diffuseMap;
uniform sampler2D normalMap;

vec3 surfaceNormal() {
  vec3 n = normalize(worldNormal);
#ifdef TEXTURED
  vec3 t = normalize(worldTangent.xyz - n * dot(n, worldTangent.xyz));
  vec3 b = cross(n, t) * worldTangent.w;
  vec3 m = texture(normalMap, textureCoordinate).xyz * 2.0 - 1.0;
  n = normalize(t * m.x + b * m.y + n * m.z);
#endif
  return n;
}

void main() {
#ifdef TEXTURED
  vec3 base = texture(diffuseMap, textureCoordinate).rgb;
#else
  vec3 base = diffuseValue.rgb;
#endif
  vec3 n = surfaceNormal();
  vec3 v = normalize(toCamera);
  vec3 l = -lightDirection;
  vec3 h = normalize(l + v);
  float nl = max(dot(n, l), 0.0);
  float nh = clamp(dot(n, h), 0.0, 1.0);
#ifdef PHYSICAL
  float nv = max(abs(dot(n, v)), 1e-4);
  float vh = clamp(dot(v, h), 0.0, 1.0);
  float rough = max(roughness, 0.045);
  float alpha = rough * rough;
  float alpha2 = alpha * alpha;
  float denominator = (1.0 - nh * nh) + nh * nh * alpha2;
  float distribution = alpha2 / (denominator * denominator);
  float visibility = 0.5 / (nl * sqrt(nv * nv * (1.0 - alpha2) + alpha2) + nv * sqrt(nl * nl * (1.0 - alpha2) + alpha2));
  float m = 1.0 - vh;
  vec3 f0 = mix(vec3(0.04), base, metalness);
  vec3 highlight = lightColor * (distribution * visibility * nl) * (f0 + (1.0 - f0) * (m * m * m * m * m));
  vec3 color = base * (lightColor * nl * (1.0 - metalness) + ambient) + highlight;
#else
  vec3 highlight = lightColor * specularValue * (nl > 0.0 ? pow(nh, exponent) : 0.0);
  vec3 color = base * (lightColor * nl + ambient) + highlight;
#endif
  result = vec4(color, 1.0);
}
)";

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error("The software driver cannot be used: " + what + ".");
}

unsigned compileShader(GLenum kind, const std::string& defines, const char* text) {
  const std::string whole = "#version 300 es\nprecision highp float;\n" + defines + text;
  const char* const source = whole.c_str();
  const GLuint shader = glCreateShader(kind);
  glShaderSource(shader, 1, &source, nullptr);
  glCompileShader(shader);
  GLint isCompiled = 0;
  glGetShaderiv(shader, GL_COMPILE_STATUS, &isCompiled);
  if (isCompiled == 0) {
    char log[2000] = "";
    glGetShaderInfoLog(shader, sizeof log, nullptr, log);
    fail(log);
  }
  return shader;
}

/// Position, normal, texture coordinates and tangent of each vertex, side by side.
std::vector<float> interleaved(const device::Mesh& mesh) {
  constexpr std::size_t floatsPerVertex = 12;
  std::vector<float> floats(mesh.position.count * floatsPerVertex);
  for (std::uint32_t i = 0; i < mesh.position.count; ++i) {
    float* const out = floats.data() + i * floatsPerVertex;
    std::memcpy(out, mesh.position[i], 3 * sizeof(float));
    if (mesh.normal.isPresent()) std::memcpy(out + 3, mesh.normal[i], 3 * sizeof(float));
    if (!mesh.texcoords.empty()) std::memcpy(out + 6, mesh.texcoords[0][i], 2 * sizeof(float));
    if (mesh.tangent.isPresent()) std::memcpy(out + 8, mesh.tangent[i], 4 * sizeof(float));
  }
  return floats;
}

}  // namespace

MesaRenderer::MesaRenderer() {
  ::setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
  ::setenv("GALLIUM_DRIVER", "llvmpipe", 1);
  display_ = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
  if (display_ == EGL_NO_DISPLAY || !eglInitialize(display_, nullptr, nullptr)) fail("no display without a screen");
  eglBindAPI(EGL_OPENGL_ES_API);
  const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_ES3_BIT, EGL_NONE};
  EGLConfig config = nullptr;
  EGLint count = 0;
  if (!eglChooseConfig(display_, wanted, &config, 1, &count) || count == 0) fail("no configuration");
  const EGLint version[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_NONE};
  context_ = eglCreateContext(display_, config, EGL_NO_CONTEXT, version);
  if (context_ == EGL_NO_CONTEXT || !eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_)) {
    fail("no context");
  }
}

MesaRenderer::~MesaRenderer() {
  release();
  eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  eglDestroyContext(display_, context_);
  eglTerminate(display_);
}

std::string MesaRenderer::description() const {
  const auto text = [](GLenum name) { return std::string(reinterpret_cast<const char*>(glGetString(name))); };
  return text(GL_RENDERER) + ", " + text(GL_VERSION);
}

void MesaRenderer::release() {
  glDeleteProgram(program_);
  glDeleteVertexArrays(1, &vertexArray_);
  glDeleteBuffers(1, &vertices_);
  glDeleteBuffers(1, &indices_);
  glDeleteTextures(2, textures_);
  glDeleteFramebuffers(1, &frameBuffer_);
  glDeleteRenderbuffers(1, &color_);
  glDeleteRenderbuffers(1, &depth_);
  textures_[0] = textures_[1] = 0;
}

void MesaRenderer::upload(const device::FrameDescription& frame) {
  release();
  const device::DrawItem& item = frame.opaqueItems.at(0);
  const device::Material& material = frame.materials.at(item.material);
  program_ = compileProgram(material);
  glUseProgram(program_);

  glGenVertexArrays(1, &vertexArray_);
  glBindVertexArray(vertexArray_);
  const std::vector<float> floats = interleaved(frame.meshes.at(item.mesh));
  glGenBuffers(1, &vertices_);
  glBindBuffer(GL_ARRAY_BUFFER, vertices_);
  glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(floats.size() * sizeof(float)), floats.data(), GL_STATIC_DRAW);
  const GLint sizes[] = {3, 3, 2, 4};
  std::size_t offset = 0;
  for (GLuint i = 0; i < 4; ++i) {
    glEnableVertexAttribArray(i);
    glVertexAttribPointer(i, sizes[i], GL_FLOAT, GL_FALSE, 12 * sizeof(float),
                          reinterpret_cast<const void*>(offset * sizeof(float)));
    offset += static_cast<std::size_t>(sizes[i]);
  }
  glGenBuffers(1, &indices_);
  glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indices_);
  glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(item.indexCount * sizeof(std::uint32_t)), item.indices,
               GL_STATIC_DRAW);

  if (material.diffuse.texture >= 0) {
    const std::int32_t wanted[] = {material.diffuse.texture, material.normal.texture};
    for (std::size_t i = 0; i < 2; ++i) {
      glActiveTexture(static_cast<GLenum>(GL_TEXTURE0 + i));
      textures_[i] = uploadTexture(frame.textures.at(static_cast<std::size_t>(wanted[i])));
    }
  }
  resizeTarget(frame.width, frame.height);
  if (const GLenum error = glGetError(); error != GL_NO_ERROR) fail("error " + std::to_string(error) + " at upload");
}

unsigned MesaRenderer::compileProgram(const device::Material& material) {
  std::string defines;
  if (material.diffuse.texture >= 0) defines += "#define TEXTURED\n";
  if (material.lightingModel == device::LightingModel::physicallyBased) defines += "#define PHYSICAL\n";
  const GLuint program = glCreateProgram();
  for (const GLuint shader : {compileShader(GL_VERTEX_SHADER, defines, vertexShader),
                              compileShader(GL_FRAGMENT_SHADER, defines, fragmentShader)}) {
    glAttachShader(program, shader);
    glDeleteShader(shader);
  }
  glLinkProgram(program);
  GLint isLinked = 0;
  glGetProgramiv(program, GL_LINK_STATUS, &isLinked);
  if (isLinked == 0) fail("the program does not link");
  return program;
}

unsigned MesaRenderer::uploadTexture(const device::Texture& texture) {
  GLuint name = 0;
  glGenTextures(1, &name);
  glBindTexture(GL_TEXTURE_2D, name);
  glTexImage2D(GL_TEXTURE_2D, 0, texture.isSRGB ? GL_SRGB8_ALPHA8 : GL_RGBA8,
               static_cast<GLsizei>(texture.image->width), static_cast<GLsizei>(texture.image->height), 0, GL_RGBA,
               GL_UNSIGNED_BYTE, texture.image->pixels.data());
  glGenerateMipmap(GL_TEXTURE_2D);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, 8);
  return name;
}

void MesaRenderer::resizeTarget(std::uint32_t width, std::uint32_t height) {
  glGenFramebuffers(1, &frameBuffer_);
  glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer_);
  const auto attach = [&](GLuint& name, GLenum format, GLenum place) {
    glGenRenderbuffers(1, &name);
    glBindRenderbuffer(GL_RENDERBUFFER, name);
    glRenderbufferStorage(GL_RENDERBUFFER, format, static_cast<GLsizei>(width), static_cast<GLsizei>(height));
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, place, GL_RENDERBUFFER, name);
  };
  attach(color_, GL_SRGB8_ALPHA8, GL_COLOR_ATTACHMENT0);
  attach(depth_, GL_DEPTH_COMPONENT24, GL_DEPTH_ATTACHMENT);
  if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) fail("the frame buffer is not complete");
  glViewport(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height));
}

void MesaRenderer::setUniforms(const device::FrameDescription& frame) {
  const device::DrawItem& item = frame.opaqueItems[0];
  const device::Material& material = frame.materials[item.material];
  const auto place = [&](const char* name) { return glGetUniformLocation(program_, name); };
  const auto matrix = [&](const char* name, const simd_double4x4& value) {
    float floats[16];
    for (std::size_t column = 0; column < 4; ++column) {
      const auto& c = value.columns[column];
      const double values[4] = {c.x, c.y, c.z, c.w};
      for (std::size_t row = 0; row < 4; ++row) floats[column * 4 + row] = static_cast<float>(values[row]);
    }
    glUniformMatrix4fv(place(name), 1, GL_FALSE, floats);
  };
  matrix("world", item.worldMatrix);
  matrix("view", frame.camera.viewMatrix);
  // Upside down, as the first row read is the lowest; near and far hold all scenes.
  constexpr float zNear = 0.1F;
  constexpr float zFar = 10;
  const auto focus = static_cast<float>(1 / std::tan(frame.camera.verticalFieldOfView * 3.14159265358979323846 / 360));
  const float aspect = static_cast<float>(frame.width) / static_cast<float>(frame.height);
  const float projection[16] = {focus / aspect,
                                0,
                                0,
                                0,  //
                                0,
                                -focus,
                                0,
                                0,  //
                                0,
                                0,
                                (zFar + zNear) / (zNear - zFar),
                                -1,  //
                                0,
                                0,
                                2 * zFar * zNear / (zNear - zFar),
                                0};
  glUniformMatrix4fv(place("projection"), 1, GL_FALSE, projection);
  float normals[9];
  for (std::size_t column = 0; column < 3; ++column) {
    const simd_float3& c = item.normalMatrix[column];
    const float values[3] = {c.x, c.y, c.z};
    std::memcpy(normals + column * 3, values, sizeof values);
  }
  glUniformMatrix3fv(place("normalMatrix"), 1, GL_FALSE, normals);
  glUniform3f(place("eye"), 0, 0, 0);
  const auto vector = [&](const char* name, simd_float3 value) { glUniform3f(place(name), value.x, value.y, value.z); };
  vector("ambient", frame.ambientLight);
  vector("lightDirection", frame.directionalLights.at(0).direction);
  vector("lightColor", frame.directionalLights[0].color);
  const simd_float4& diffuse = material.diffuse.value;
  glUniform4f(place("diffuseValue"), diffuse.x, diffuse.y, diffuse.z, diffuse.w);
  const simd_float4& specular = material.specular.value;
  vector("specularValue", {specular.x, specular.y, specular.z});
  glUniform1f(place("exponent"), material.shininess * 128);
  glUniform1f(place("roughness"), material.roughness.value.x);
  glUniform1f(place("metalness"), material.metalness.value.x);
  glUniform1i(place("diffuseMap"), 0);
  glUniform1i(place("normalMap"), 1);
}

Image MesaRenderer::render(const device::FrameDescription& frame) {
  setUniforms(frame);
  glEnable(GL_DEPTH_TEST);
  glEnable(GL_CULL_FACE);
  glFrontFace(GL_CW);  // As the picture is upside down.
  glClearColor(0, 0, 0, 0);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(frame.opaqueItems[0].indexCount), GL_UNSIGNED_INT, nullptr);
  glFinish();
  Image image{.width = frame.width, .height = frame.height, .pixels = {}};
  image.pixels.resize(image.rowBytes() * image.height);
  glReadPixels(0, 0, static_cast<GLsizei>(frame.width), static_cast<GLsizei>(frame.height), GL_RGBA, GL_UNSIGNED_BYTE,
               image.pixels.data());
  return image;
}

}  // namespace ornolith::peers
