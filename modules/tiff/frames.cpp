// frames.cpp - going from page to page in a file that is read.
#include "reader.h"
#include "shared/driver_support.h"

namespace tiffio {

namespace {

// Makes all that reading a page takes. What has been made by the time of a failure is in the view.
//   desc  the description before; texts in it are kept
int32_t build_view(Reader &reader, int32_t page, View *view, ZOR_IMAGE_DESC *desc) {
    Codec &codec = reader.codec;
    if (const int32_t status = enter_page(codec, reader.pages.offsets[page], &view->page))
        return status;
    if (const int32_t status = prepare(codec, view->page, &view->blocks))
        return status;
    const ZOR_IMAGE_DESC before = *desc;
    describe(codec, view->page, desc);
    desc->chan_format = before.chan_format;
    if (desc->curve.kind == 0) {
        desc->curve.kind = 1;
        desc->curve.gamma = reader.default_gamma;
    }
    if (reader.pages.count > 1)
        desc->frame = static_cast<int32_t>(frame_of(reader, page));
    view->rows = zor__chan_alloc(desc, view->page.width, codec.image->key);
    if (view->rows != nullptr)
        return 0;
    return zor__err < 0 ? zor__err : ZOR_E_MEMORY;
}

// Goes back to the page that is shown after another could not be.
void return_to_shown(Reader &reader) {
    Page &page = reader.view.page;
    const Page before = page;
    const int64_t offset = reader.pages.offsets[reader.current];
    reader.lost = enter_page(reader.codec, offset, &page) != 0;
    if (reader.lost)
        page = before;
    reader.view.blocks.next = -1; // libtiff has lost its place in a strip
}

} // namespace

void release(View *view) {
    ERR_free(view->blocks.band);
    zor__chan_free(view->rows);
    *view = {};
}

int32_t show_page(Reader &reader, int32_t page) {
    const bool another = reader.view.rows != nullptr;
    View view = {};
    ZOR_IMAGE_DESC desc = reader.codec.image->images[0];
    if (const int32_t status = build_view(reader, page, &view, &desc)) {
        release(&view);
        if (another)
            return_to_shown(reader);
        return driver::set_status(status);
    }
    release(&reader.view);
    reader.view = view;
    reader.current = page;
    reader.lost = false;
    reader.codec.image->images[0] = desc;
    return 0;
}

int set_frame(void *state, ZOR_WORD frame) {
    auto &reader = *static_cast<Reader *>(state);
    const ZOR_IMAGE *image = reader.codec.image;
    const int64_t page = int64_t{frame} - image->first_frame;
    if (page < 0 || page >= reader.pages.count) {
        ERR_printf(ERR_ERROR, "%s: there is no frame %lld, only %d to %lld", image->file_name,
                   static_cast<long long>(frame), static_cast<int>(image->first_frame),
                   static_cast<long long>(frame_of(reader, reader.pages.count - 1)));
        return driver::set_status(ZOR_E_ARGUMENT);
    }
    const auto wanted = static_cast<int32_t>(page);
    return wanted == reader.current && !reader.lost ? 0 : show_page(reader, wanted);
}

namespace {

// The number goes to the int32_t that the word points to.
int get_frame(void *state, ZOR_WORD frame) {
    const auto &reader = *static_cast<Reader *>(state);
    *driver::pointer_in<int32_t>(frame) = static_cast<int32_t>(frame_of(reader, reader.current));
    return 0;
}

} // namespace

void offer_frames(ZOR_IMAGE *image) {
    image->get_frame = get_frame;
    image->set_frame = set_frame;
}

} // namespace tiffio
