#include "ui/picture_decoder.h"

#include <wx/log.h>
#include <wx/mstream.h>

namespace qmtrain::ui {

wxImage DecodePicture(const Bytes& file) {
    const wxLogNull silent;
    wxMemoryInputStream stream(file.data(), file.size());
    wxImage image;
    image.LoadFile(stream);
    return image;
}

}  // namespace qmtrain::ui
