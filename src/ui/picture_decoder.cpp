#include "ui/picture_decoder.h"

#include <wx/log.h>
#include <wx/mstream.h>

namespace qmtrain::ui {
namespace {

wxBitmapType TypeOf(document::Picture::Kind kind) {
    switch (kind) {
        case document::Picture::Kind::Png: return wxBITMAP_TYPE_PNG;
        case document::Picture::Kind::Jpeg: return wxBITMAP_TYPE_JPEG;
        case document::Picture::Kind::Dib: return wxBITMAP_TYPE_BMP;
        case document::Picture::Kind::Metafile: break;
    }
    return wxBITMAP_TYPE_INVALID;
}

}  // namespace

// The size is read first, and only the kind that the document names is decoded: bytes of another kind would have a size
// that was not checked.
wxImage DecodePicture(const document::Picture& picture, wxSize shown) {
    const auto size = document::SizeInPixels(picture);
    const wxBitmapType type = TypeOf(picture.kind);
    if (!size || type == wxBITMAP_TYPE_INVALID || std::int64_t{size->width} * size->height > document::kMostPixels)
        return {};
    const wxLogNull silent;
    const Bytes file = document::PictureFile(picture);
    wxMemoryInputStream stream(file.data(), file.size());
    wxImage image;
    if (type == wxBITMAP_TYPE_JPEG && size->width > shown.x && size->height > shown.y) {
        // Only this decoder leaves out what a smaller size does not need; the others would scale what they have
        // decoded.
        image.SetOption(wxIMAGE_OPTION_MAX_WIDTH, shown.x);
        image.SetOption(wxIMAGE_OPTION_MAX_HEIGHT, shown.y);
    }
    image.LoadFile(stream, type);
    return image;
}

}  // namespace qmtrain::ui
