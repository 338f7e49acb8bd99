// Windows decodes pictures itself; wxWidgets is built without libraries for them there.
#include <cstdlib>

#include <wincodec.h>

#include "automation/com_ptr.h"
#include "ui/picture_decoder.h"

namespace qmtrain::ui {
namespace {

using automation::ComPtr;

// The first frame as red, green, blue and opacity, a byte each; none when any step fails.
ComPtr<IWICFormatConverter> OpenPicture(const Bytes& file) {
    ComPtr<IWICImagingFactory> factory;
    ComPtr<IWICStream> stream;
    ComPtr<IWICBitmapDecoder> decoder;
    ComPtr<IWICBitmapFrameDecode> frame;
    ComPtr<IWICFormatConverter> pixels;
    auto* content = const_cast<BYTE*>(file.data());
    const bool opened = SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                                   IID_IWICImagingFactory, factory.OutVoid())) &&
                        SUCCEEDED(factory->CreateStream(stream.Out())) &&
                        SUCCEEDED(stream->InitializeFromMemory(content, static_cast<DWORD>(file.size()))) &&
                        SUCCEEDED(factory->CreateDecoderFromStream(stream.Get(), nullptr,
                                                                   WICDecodeMetadataCacheOnDemand, decoder.Out())) &&
                        SUCCEEDED(decoder->GetFrame(0, frame.Out())) &&
                        SUCCEEDED(factory->CreateFormatConverter(pixels.Out())) &&
                        SUCCEEDED(pixels->Initialize(frame.Get(), GUID_WICPixelFormat32bppBGRA, WICBitmapDitherTypeNone,
                                                     nullptr, 0, WICBitmapPaletteTypeCustom));
    return opened ? pixels : ComPtr<IWICFormatConverter>();
}

}  // namespace

wxImage DecodePicture(const Bytes& file) {
    constexpr UINT kLargest = 20000;  // pixels a side; beyond it a picture is not a picture
    const ComPtr<IWICFormatConverter> pixels = OpenPicture(file);
    UINT width = 0;
    UINT height = 0;
    if (!pixels || FAILED(pixels->GetSize(&width, &height)) || width == 0 || height == 0 || width > kLargest ||
        height > kLargest)
        return {};
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
