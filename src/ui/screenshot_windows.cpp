// Windows writes pictures itself; wxWidgets is built without libraries for them there.
#include <wincodec.h>
#include <wx/msw/private.h>
#include <wx/window.h>

#include "automation/com_ptr.h"
#include "ui/screenshot.h"

namespace qmtrain::ui {
namespace {

using automation::ComPtr;

struct BitmapDeleter {
    using pointer = HBITMAP;
    void operator()(HBITMAP bitmap) const { DeleteObject(bitmap); }
};
using OwnedBitmap = std::unique_ptr<HBITMAP, BitmapDeleter>;

// What the screen shows there.
OwnedBitmap CopyScreen(const RECT& area) {
    const ScreenHDC screen;
    OwnedBitmap bitmap(CreateCompatibleBitmap(screen, area.right - area.left, area.bottom - area.top));
    const MemoryHDC memory(screen);
    const SelectInHDC select(memory, bitmap.get());
    if (!BitBlt(memory, 0, 0, area.right - area.left, area.bottom - area.top, screen, area.left, area.top, SRCCOPY)) {
        bitmap.reset();
    }
    return bitmap;
}

bool SavePng(HBITMAP bitmap, const std::filesystem::path& file) {
    ComPtr<IWICImagingFactory> factory;
    ComPtr<IWICBitmap> pixels;
    ComPtr<IWICStream> stream;
    ComPtr<IWICBitmapEncoder> encoder;
    ComPtr<IWICBitmapFrameEncode> frame;
    WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
    return SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                                      factory.OutVoid())) &&
           SUCCEEDED(factory->CreateBitmapFromHBITMAP(bitmap, nullptr, WICBitmapIgnoreAlpha, pixels.Out())) &&
           SUCCEEDED(factory->CreateStream(stream.Out())) &&
           SUCCEEDED(stream->InitializeFromFilename(file.c_str(), GENERIC_WRITE)) &&
           SUCCEEDED(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.Out())) &&
           SUCCEEDED(encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache)) &&
           SUCCEEDED(encoder->CreateNewFrame(frame.Out(), nullptr)) && SUCCEEDED(frame->Initialize(nullptr)) &&
           SUCCEEDED(frame->SetPixelFormat(&format)) && SUCCEEDED(frame->WriteSource(pixels.Get(), nullptr)) &&
           SUCCEEDED(frame->Commit()) && SUCCEEDED(encoder->Commit());
}

}  // namespace

bool SaveScreenshot(const wxWindow& window, const std::filesystem::path& file) {
    RECT area{};
    GetClientRect(GetHwndOf(&window), &area);
    MapWindowPoints(GetHwndOf(&window), nullptr, reinterpret_cast<POINT*>(&area), 2);
    const OwnedBitmap bitmap = CopyScreen(area);
    return bitmap && SavePng(bitmap.get(), file);
}

}  // namespace qmtrain::ui
