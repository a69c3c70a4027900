// render_frame.cpp - renders a frame of a little animation and writes it through the library:
// spheres that go round over a chequered ground, as 8-bit rgb, with a matte of the spheres and the
// distance of what is seen as a float channel.
//
//     render_frame FILE FRAME [WIDTH HEIGHT]
//
// FILE's extension names the format, which has to have room for all that: a .mox file does. Frames
// 1 to 48 make a loop.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <string>
#include <vector>

#include <zor/str.h>
#include <zor/zor.h>

#include "loader/loader.h"

namespace {

// Vectors and colours ---------------------------------------------------------------------------

struct Vec {
    double x, y, z;
};

Vec operator+(Vec a, Vec b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
Vec operator-(Vec a, Vec b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Vec operator*(Vec a, Vec b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
Vec operator*(Vec a, double s) { return {a.x * s, a.y * s, a.z * s}; }
double dot(Vec a, Vec b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
Vec cross(Vec a, Vec b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
Vec unit(Vec a) { return a * (1 / std::sqrt(dot(a, a))); }
Vec mix(Vec a, Vec b, double t) { return a * (1 - t) + b * t; }

// The scene -------------------------------------------------------------------------------------

struct Sphere {
    Vec centre;
    double radius;
    Vec colour;
    double mirror; // share of the reflection
};

struct Scene {
    std::vector<Sphere> spheres;
    Vec eye, right, up, forward;
};

const Vec light = unit({-0.55, 0.75, -0.45});
const double far_away = 1000; // the depth of what is not hit

Scene make_scene(int frame) {
    const double turn = 2 * std::numbers::pi * (frame - 1) / 48;
    Scene scene;
    scene.spheres.push_back({{0, 1.0, 0}, 1.0, {0.9, 0.88, 0.85}, 0.6});
    const Vec colours[] = {{0.85, 0.20, 0.16},
                           {0.95, 0.62, 0.12},
                           {0.16, 0.52, 0.36},
                           {0.13, 0.36, 0.72},
                           {0.48, 0.24, 0.58}};
    for (size_t k = 0; k < std::size(colours); ++k) {
        const double angle = turn + 2 * std::numbers::pi * static_cast<double>(k) / 5;
        const double radius = 0.36 + 0.06 * static_cast<double>(k % 3);
        const double hop = 0.55 * std::abs(std::sin(2 * turn + 1.3 * static_cast<double>(k)));
        scene.spheres.push_back({{2.1 * std::cos(angle), radius + hop, 2.1 * std::sin(angle)},
                                 radius,
                                 colours[k],
                                 0.12});
    }
    scene.eye = {0, 2.6, -7.2};
    scene.forward = unit(Vec{0, 0.75, 0} - scene.eye);
    scene.right = unit(cross({0, 1, 0}, scene.forward));
    scene.up = cross(scene.forward, scene.right);
    return scene;
}

// Distance along the ray to the sphere's front, or a negative number.
double hit(const Sphere &sphere, Vec origin, Vec direction) {
    const Vec offset = origin - sphere.centre;
    const double b = dot(offset, direction);
    const double root = b * b - dot(offset, offset) + sphere.radius * sphere.radius;
    return root < 0 ? -1 : -b - std::sqrt(root);
}

// Share of the light that reaches a point, softened by how near the ray passes a sphere.
double lit(const Scene &scene, Vec point) {
    double share = 1;
    for (const Sphere &sphere : scene.spheres) {
        const Vec offset = sphere.centre - point;
        const double along = dot(offset, light);
        if (along <= 0)
            continue;
        const double miss = std::sqrt(std::max(0.0, dot(offset, offset) - along * along));
        const double blur = 0.12 * along;
        const double t = std::clamp((miss - sphere.radius + blur) / (2 * blur), 0.0, 1.0);
        share *= t * t * (3 - 2 * t);
    }
    return share;
}

// Darkening where a sphere covers part of the sky above a point.
double open_sky(const Scene &scene, Vec point, Vec normal, const Sphere *self) {
    double share = 1;
    for (const Sphere &sphere : scene.spheres) {
        const Vec offset = sphere.centre - point;
        const double square = dot(offset, offset);
        if (&sphere == self)
            continue;
        const double facing = std::max(0.0, dot(normal, offset) / std::sqrt(square));
        share *= 1 - facing * std::min(1.0, sphere.radius * sphere.radius / square);
    }
    return share;
}

Vec sky(Vec direction) {
    const double height = std::clamp(direction.y * 2.2, 0.0, 1.0);
    const Vec colour = mix({0.80, 0.68, 0.54}, {0.10, 0.26, 0.58}, std::sqrt(height));
    const double sun = std::pow(std::max(0.0, dot(direction, light)), 400);
    return colour + Vec{1.0, 0.9, 0.7} * (4 * sun);
}

// The ground's colour, the chequer fading out before it gets finer than the pixels.
Vec ground(Vec point, double distance) {
    const auto wave = [](double v) {
        return std::clamp(20 * std::sin(v * std::numbers::pi / 1.2), -1.0, 1.0);
    };
    const double pattern = wave(point.x) * wave(point.z) * std::exp(-distance * 0.05);
    return mix({0.22, 0.20, 0.19}, {0.52, 0.47, 0.41}, 0.5 + 0.5 * pattern);
}

// What a ray sees.
struct Seen {
    Vec colour;
    double depth;
    bool sphere;
};

Seen trace(const Scene &scene, Vec origin, Vec direction, int bounces) {
    const Sphere *nearest = nullptr;
    double distance = far_away;
    for (const Sphere &sphere : scene.spheres) {
        const double t = hit(sphere, origin, direction);
        if (t > 1e-6 && t < distance) {
            distance = t;
            nearest = &sphere;
        }
    }
    const double to_ground = direction.y < 0 ? -origin.y / direction.y : far_away;
    if (nearest == nullptr && to_ground >= far_away)
        return {sky(direction), far_away, false};
    if (nearest == nullptr)
        distance = to_ground;

    const Vec point = origin + direction * distance;
    const Vec normal =
        nearest != nullptr ? (point - nearest->centre) * (1 / nearest->radius) : Vec{0, 1, 0};
    const Vec base = nearest != nullptr ? nearest->colour : ground(point, distance);
    const double sun = std::max(0.0, dot(normal, light)) * lit(scene, point);
    const double ambient = (0.65 + 0.35 * normal.y) * open_sky(scene, point, normal, nearest);
    Vec colour = base * (Vec{1.30, 1.18, 1.0} * sun + Vec{0.26, 0.32, 0.42} * ambient);

    const Vec bounced = direction - normal * (2 * dot(direction, normal));
    if (nearest != nullptr && bounces > 0) {
        const double grazing = std::pow(1 - std::max(0.0, -dot(direction, normal)), 5);
        const double share = nearest->mirror + (1 - nearest->mirror) * 0.6 * grazing;
        const Seen other = trace(scene, point + normal * 1e-4, bounced, bounces - 1);
        colour = mix(colour, other.colour * mix({1, 1, 1}, base, 0.5), share);
        const double shine = std::pow(std::max(0.0, dot(bounced, light)), 90);
        colour = colour + Vec{1.2, 1.1, 0.95} * (shine * lit(scene, point));
    }
    if (nearest == nullptr) // haze takes the ground over into the sky
        colour = mix(sky({direction.x, 0, direction.z}), colour, std::exp(-distance * 0.03));
    return {colour, distance, nearest != nullptr};
}

// The picture -----------------------------------------------------------------------------------

uint8_t to_byte(double value) {
    return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
}

// Light to stored value: a film's curve, dark at the foot and rolled off at the top, and then the
// gamma of 2.2 taken out.
uint8_t encode(double value) {
    const double toned = 1 - std::exp(-1.6 * std::pow(std::max(0.0, value), 1.4));
    return to_byte(std::pow(toned, 1 / 2.2));
}

// One row of each channel, in the order in which the library takes them.
struct Row {
    std::array<std::vector<uint8_t>, 3> rgb;
    std::vector<uint8_t> matte;
    std::vector<float> depth;
};

void render_row(const Scene &scene, int y, int width, int height, Row &row) {
    const int grid = 4; // samples along each side of a pixel
    const double size = 0.86 / height;
    for (size_t x = 0; x < row.matte.size(); ++x) {
        Vec colour = {0, 0, 0};
        double nearest = far_away;
        int covered = 0;
        for (int sample = 0; sample < grid * grid; ++sample) {
            const int row_of_grid = sample / grid;
            const double u = static_cast<double>(x) + (sample % grid + 0.5) / grid - width / 2.0;
            const double v = y + (row_of_grid + 0.5) / grid - height / 2.0;
            const Vec direction =
                unit(scene.forward + scene.right * (u * size) + scene.up * (v * size));
            const Seen seen = trace(scene, scene.eye, direction, 3);
            colour = colour + seen.colour * (1.0 / (grid * grid));
            covered += seen.sphere ? 1 : 0;
            nearest = std::min(nearest, seen.depth); // depths do not average
        }
        row.rgb[0][x] = encode(colour.x);
        row.rgb[1][x] = encode(colour.y);
        row.rgb[2][x] = encode(colour.z);
        row.matte[x] = to_byte(static_cast<double>(covered) / (grid * grid));
        row.depth[x] = static_cast<float>(nearest);
    }
}

// What the library is to write, or null when memory ran out.
ZOR_INFO *describe(const char *file, int frame, int width, int height) {
    ZOR_INFO *info = ZOR_info_alloc();
    if (info == nullptr)
        return nullptr;
    info->file_name = STR_save(file);
    info->complete_path = 1; // the name is used as it stands
    info->name = STR_save("spheres");
    info->description = STR_save("Spheres going round");
    info->program = STR_save("render_frame");
    const std::array<float, 12> rec709 = {0.64f, 0.33f, 0.03f, 0.30f,   0.60f,   0.10f,
                                          0.15f, 0.06f, 0.79f, 0.3127f, 0.3290f, 0.3583f};
    std::copy(rec709.begin(), rec709.end(), info->primaries);

    ZOR_IMAGE_DESC *desc = ZOR_info_add_image(info, width, height); // with 8-bit rgb
    if (desc == nullptr) {
        ZOR_info_free(info, 1);
        return nullptr;
    }
    desc->curve.kind = 1;
    desc->curve.gamma = 2.2f;
    desc->matte = {1, ZOR_C_INTEGER, 8};
    desc->aux = {1, ZOR_C_FLOAT, 32};
    desc->aux_name = STR_save("depth");
    desc->frame = frame;
    return info;
}

bool write_rows(ZOR_IMAGE *image, const Scene &scene, int width, int height) {
    const auto length = static_cast<size_t>(width);
    Row row;
    row.rgb.fill(std::vector<uint8_t>(length));
    row.matte.resize(length);
    row.depth.resize(length);

    const bool rising = (ZOR_image_desc(image, 0)->orientation & ZOR_ORIENTATION_RISING) != 0;
    for (int step = 0; step < height; ++step) {
        const int y = rising ? step : height - 1 - step; // row 0 is the lowest
        render_row(scene, y, width, height, row);
        void *rows[] = {row.rgb[0].data(), row.rgb[1].data(), row.rgb[2].data(), row.matte.data(),
                        row.depth.data()};
        if (ZOR_scan_write(image, y, rows) != 0)
            return false;
    }
    return true;
}

// A number from 1 to 32767; 0 for anything else.
int number(const char *text) {
    char *end;
    const long value = std::strtol(text, &end, 10);
    return *end == '\0' && value >= 1 && value <= 32767 ? static_cast<int>(value) : 0;
}

} // namespace

int main(int argc, char **argv) {
    const int frame = argc > 2 ? number(argv[2]) : 0;
    const int width = argc > 4 ? number(argv[3]) : 640;
    const int height = argc > 4 ? number(argv[4]) : 480;
    if ((argc != 3 && argc != 5) || frame < 1 || width < 1 || height < 1) {
        std::fprintf(stderr, "usage: render_frame FILE FRAME [WIDTH HEIGHT]\n");
        return 2;
    }
    zor::Loader library(zor::module_directories());
    if (library.start() != 0)
        return 1;

    ZOR_INFO *info = describe(argv[1], frame, width, height);
    ZOR_IMAGE *image = info != nullptr ? ZOR_open(info, "w") : nullptr;
    if (info != nullptr)
        ZOR_info_free(info, 1);
    if (image == nullptr)
        return 1; // the library has said why

    bool good = write_rows(image, make_scene(frame), width, height);
    good = ZOR_close(image) == 0 && good; // only now is the file complete
    if (!good)
        std::remove(argv[1]);
    return good ? 0 : 1;
}
