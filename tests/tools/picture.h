// picture.h - pictures for the conversion tests, as files of the simplest kind.
#pragma once

#include <cstdint>
#include <string>

// The samples of a picture, top row first: stretches of one value and of noise by turns.
inline std::string raster(int width, int height, int channels, int bytes) {
    std::string samples(static_cast<size_t>(width) * static_cast<size_t>(height * channels * bytes),
                        '\0');
    uint32_t noise = 1;
    for (size_t i = 0; i < samples.size(); ++i) {
        noise = noise * 1664525 + 1013904223;
        samples[i] = i == 0 || noise % 7 > 2 ? static_cast<char>(noise >> 24) : samples[i - 1];
    }
    return samples;
}

// A PAM file of that picture.
inline std::string pam(int width, int height, int channels, int bytes) {
    static const char *const types[] = {"", "GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
    return "P7\nWIDTH " + std::to_string(width) + "\nHEIGHT " + std::to_string(height) +
           "\nDEPTH " + std::to_string(channels) + "\nMAXVAL " + (bytes == 1 ? "255" : "65535") +
           "\nTUPLTYPE " + types[channels] + "\nENDHDR\n" + raster(width, height, channels, bytes);
}
