// Windows decodes pictures itself; wxWidgets is built without libraries for them there.
#include <cstdlib>
#include <utility>

#include <wincodec.h>

#include "automation/com_ptr.h"
#include "ui/picture_decoder.h"

namespace qmtrain::ui {
namespace {

using automation::ComPtr;

struct Frame {
    ComPtr<IWICImagingFactory> factory;
    ComPtr<IWICBitmapFrameDecode> pixels;
};

// The first frame, nothing of which is decoded yet; none when any step fails.
Frame OpenPicture(const Bytes& file) {
    Frame opened;
    ComPtr<IWICStream> stream;
    ComPtr<IWICBitmapDecoder> decoder;
    ComPtr<IWICBitmapFrameDecode> frame;
    auto* content = const_cast<BYTE*>(file.data());
    const bool ok = SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                               IID_IWICImagingFactory, opened.factory.OutVoid())) &&
                    SUCCEEDED(opened.factory->CreateStream(stream.Out())) &&
                    SUCCEEDED(stream->InitializeFromMemory(content, static_cast<DWORD>(file.size()))) &&
                    SUCCEEDED(opened.factory->CreateDecoderFromStream(stream.Get(), nullptr,
                                                                      WICDecodeMetadataCacheOnDemand, decoder.Out())) &&
                    SUCCEEDED(decoder->GetFrame(0, frame.Out()));
    if (ok) opened.pixels = std::move(frame);
    return opened;
}

// The frame as red, green, blue and opacity, a byte each, in that size.
ComPtr<IWICFormatConverter> Converted(const Frame& frame, UINT width, UINT height) {
    ComPtr<IWICBitmapScaler> scaler;
    ComPtr<IWICFormatConverter> pixels;
    const bool ok = SUCCEEDED(frame.factory->CreateBitmapScaler(scaler.Out())) &&
                    SUCCEEDED(scaler->Initialize(frame.pixels.Get(), width, height, WICBitmapInterpolationModeFant)) &&
                    SUCCEEDED(frame.factory->CreateFormatConverter(pixels.Out())) &&
                    SUCCEEDED(pixels->Initialize(scaler.Get(), GUID_WICPixelFormat32bppBGRA, WICBitmapDitherTypeNone,
                                                 nullptr, 0, WICBitmapPaletteTypeCustom));
    return ok ? pixels : ComPtr<IWICFormatConverter>();
}

}  // namespace

wxImage DecodePicture(const document::Picture& picture, wxSize shown) {
    if (picture.kind == document::Picture::Kind::Metafile) return {};
    const Bytes file = document::PictureFile(picture);
    const Frame frame = OpenPicture(file);
    UINT width = 0;
    UINT height = 0;
    if (!frame.pixels || FAILED(frame.pixels->GetSize(&width, &height)) || width == 0 || height == 0) return {};
    if (std::uint64_t{width} * height > std::uint64_t{document::kMostPixels}) return {};
    if (static_cast<int>(width) > shown.x && static_cast<int>(height) > shown.y && shown.x > 0 && shown.y > 0) {
        width = static_cast<UINT>(shown.x);
        height = static_cast<UINT>(shown.y);
    }
    const ComPtr<IWICFormatConverter> pixels = Converted(frame, width, height);
    if (!pixels) return {};
    wxImage image(static_cast<int>(width), static_cast<int>(height), false);
    image.SetAlpha();
    Bytes row(std::size_t{width} * 4);
    for (UINT y = 0; y < height; ++y) {
        const WICRect place{0, static_cast<INT>(y), static_cast<INT>(width), 1};
        if (FAILED(
                pixels->CopyPixels(&place, static_cast<UINT>(row.size()), static_cast<UINT>(row.size()), row.data())))
            return {};
        for (UINT x = 0; x < width; ++x) {
            const std::uint8_t* pixel = &row[std::size_t{x} * 4];
            image.SetRGB(static_cast<int>(x), static_cast<int>(y), pixel[2], pixel[1], pixel[0]);
            image.SetAlpha(static_cast<int>(x), static_cast<int>(y), pixel[3]);
        }
    }
    return image;
}

}  // namespace qmtrain::ui
