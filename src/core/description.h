// description.h - image descriptions: copying, completing, freeing.
#pragma once

#include "zor/driver.h"

namespace zor {

// Saves a text into a field that holds nothing to free; null stays null. False when memory ran out.
bool save_text(char **field, const char *text);

// Frees a text and clears the field.
void drop_text(char **field);

// Frees the texts of a description. Its curve's tables are another matter: whoever made them frees
// them.
void free_description_texts(ZOR_IMAGE_DESC *desc);

// Copies a description with private texts. The tables of its curve stay shared. False when memory
// ran out, with nothing left to free.
bool copy_description(ZOR_IMAGE_DESC *copy, const ZOR_IMAGE_DESC &desc);

// The same with tables of its own too, which go with the handle that the copy belongs to. Returns
// 0, or a negative status, reported, with a copy that may be freed like any other.
int32_t copy_whole_description(ZOR_IMAGE_DESC *copy, const ZOR_IMAGE_DESC &desc);

// Fills in what a description with sound windows leaves open: channel format, picture size and
// aspect, and the gamma of a curve that says nothing. False when memory ran out.
bool complete_description(ZOR_IMAGE_DESC *desc, float default_gamma);

// Whether window and active window make sense: not empty, the active one inside, every width and
// height within 31 bits.
bool has_sound_windows(const ZOR_IMAGE_DESC &desc);

// Checks what a driver says of a handle's images, and fills in what it left open, so that nobody
// above has to ask. Returns 0 or a negative status, reported.
int32_t check_descriptions(ZOR_IMAGE *image);

// Images of one pixel without channels, as many as there are, in place of descriptions that did not
// pass the check. Their texts stay.
void clear_descriptions(ZOR_IMAGE *image);

// Samples in a row of the window, and in the stored part of it.
inline int32_t window_width(const ZOR_IMAGE_DESC &desc) {
    return desc.win_right - desc.win_left + 1;
}
inline int32_t active_width(const ZOR_IMAGE_DESC &desc) {
    return desc.act_right - desc.act_left + 1;
}

} // namespace zor
