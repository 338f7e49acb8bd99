#include "host/widgets/rich_editor.h"

#include <algorithm>
#include <optional>

#include <wx/dcmemory.h>
#include <wx/panel.h>
#include <wx/settings.h>
#include <wx/sizer.h>

#include "core/error.h"
#include "core/text.h"
#include "exchange/list_numbers.h"
#include "exchange/pictures.h"
#include "exchange/question.h"
#include "exchange/text_file.h"
#include "ui/picture_decoder.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

const wxString kPicture = "picture:";

wxRichTextAttr AttributesOf(const document::CharacterFormat& format) {
    wxRichTextAttr attributes;
    if (format.bold) attributes.SetFontWeight(wxFONTWEIGHT_BOLD);
    if (format.italic) attributes.SetFontStyle(wxFONTSTYLE_ITALIC);
    if (format.underline) attributes.SetFontUnderlined(true);
    int effects = 0;
    if (format.strike_out) effects |= wxTEXT_ATTR_EFFECT_STRIKETHROUGH;
    if (format.script == document::Script::Superscript) effects |= wxTEXT_ATTR_EFFECT_SUPERSCRIPT;
    if (format.script == document::Script::Subscript) effects |= wxTEXT_ATTR_EFFECT_SUBSCRIPT;
    if (effects != 0) {
        attributes.SetTextEffects(effects);
        attributes.SetTextEffectFlags(effects);
    }
    if (!format.font.empty()) attributes.SetFontFaceName(ui::ToWx(format.font));
    return attributes;
}

document::CharacterFormat FormatOf(const wxRichTextAttr& attributes) {
    document::CharacterFormat format;
    format.bold = attributes.HasFontWeight() && attributes.GetFontWeight() >= wxFONTWEIGHT_BOLD;
    format.italic = attributes.HasFontItalic() && attributes.GetFontStyle() == wxFONTSTYLE_ITALIC;
    format.underline = attributes.HasFontUnderlined() && attributes.GetFontUnderlined();
    const int effects = attributes.HasTextEffects() ? attributes.GetTextEffects() : 0;
    format.strike_out = (effects & wxTEXT_ATTR_EFFECT_STRIKETHROUGH) != 0;
    if ((effects & wxTEXT_ATTR_EFFECT_SUPERSCRIPT) != 0) format.script = document::Script::Superscript;
    if ((effects & wxTEXT_ATTR_EFFECT_SUBSCRIPT) != 0) format.script = document::Script::Subscript;
    if (attributes.HasFontFaceName() && attributes.GetFontFaceName() == ui::ToWx(exchange::kProgramFont)) {
        format.font = exchange::kProgramFont;
    }
    return format;
}

// What the box shows is a bitmap, the one kind of picture that the toolkit writes on every system; it knows nothing
// that one could see through.
wxImage OnGround(const wxImage& image, const wxColour& ground) {
    if (!image.HasAlpha() && !image.HasMask()) return image;
    wxBitmap whole(image.GetSize());
    wxMemoryDC dc(whole);
    dc.SetBackground(ground);
    dc.Clear();
    dc.DrawBitmap(wxBitmap(image), 0, 0, true);
    dc.SelectObject(wxNullBitmap);
    return whole.ConvertToImage();
}

constexpr int kLevelIndent = 40;  // tenths of a millimetre

// Any text before a paragraph, numbers as well: the box draws it as it is.
void SetBullet(wxRichTextAttr& attributes, const wxString& text, int level) {
    attributes.SetBulletStyle(wxTEXT_ATTR_BULLET_STYLE_SYMBOL);
    attributes.SetBulletText(text);
    attributes.SetLeftIndent(kLevelIndent * level, kLevelIndent);
}

}  // namespace

RichEditor::RichEditor(wxWindow* parent, wxSize least)
    : wxRichTextCtrl(parent, wxID_ANY, wxString(), wxDefaultPosition, parent->FromDIP(least),
                     wxRE_MULTILINE | wxBORDER_NONE) {
    SetMinSize(parent->FromDIP(least));
    const wxColour ground = wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOW);
    SetBackgroundColour(ground);
    wxRichTextAttr basic = GetBasicStyle();
    basic.SetFont(wxSystemSettings::GetFont(wxSYS_DEFAULT_GUI_FONT));
    basic.SetTextColour(wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOWTEXT));
    basic.SetParagraphSpacingAfter(0);
    basic.SetParagraphSpacingBefore(0);
    basic.SetLineSpacing(10);
    SetBasicStyle(basic);
    // Tab moves the focus, as in other boxes; Ctrl+Tab writes a tab.
    Bind(wxEVT_KEY_DOWN, [this](wxKeyEvent& event) {
        if (event.GetKeyCode() != WXK_TAB || event.AltDown()) return event.Skip();
        if (event.ControlDown()) return WriteText("\t");
        Navigate(event.ShiftDown() ? wxNavigationKeyEvent::IsBackward : wxNavigationKeyEvent::IsForward);
    });
}

RichEditor* RichEditor::InFrame(wxWindow* parent, wxSize least) {
    auto* frame = new wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_THEME);
    auto* editor = new RichEditor(frame, least);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(editor, 1, wxEXPAND);
    frame->SetSizer(sizer);
    return editor;
}

void RichEditor::DoSetSize(int x, int y, int width, int height, int flags) {
    scrollbars_.Fit(*this, width, height);
    wxRichTextCtrl::DoSetSize(x, y, width, height, flags);
}

void RichEditor::SetRich(const document::RichText& text) {
    pictures_.clear();
    Clear();
    BeginSuppressUndo();
    bool first = true;
    for (const document::Paragraph& paragraph : text.Paragraphs()) {
        if (!std::exchange(first, false)) Newline();
        for (const document::Run& run : paragraph.runs) {
            if (run.picture != nullptr) {
                WritePicture(run.picture);
                continue;
            }
            BeginStyle(AttributesOf(run.format));
            WriteText(ui::ToWx(run.text));
            EndStyle();
        }
    }
    SetBullets(text);
    EndSuppressUndo();
    SetInsertionPoint(0);
    DiscardEdits();
}

// What is begun while text is written counts for the next paragraph only.
void RichEditor::SetBullets(const document::RichText& text) {
    auto child = GetBuffer().GetChildren().begin();
    for (const document::Paragraph& paragraph : text.Paragraphs()) {
        if (child == GetBuffer().GetChildren().end()) break;
        wxRichTextAttr& attributes = (*child)->GetAttributes();
        ++child;
        const std::u16string& bullet = paragraph.format.bullet;
        if (bullet.empty()) continue;
        SetBullet(attributes, ui::ToWx(bullet), std::max(1, paragraph.format.left_indent / exchange::kListIndent));
    }
    GetBuffer().Invalidate(wxRICHTEXT_ALL);
    LayoutContent();
    bullets_ = Bullets();
}

std::vector<RichEditor::Bullet> RichEditor::Bullets() {
    std::vector<Bullet> bullets;
    for (const wxRichTextObject* child : GetBuffer().GetChildren()) {
        const wxRichTextAttr& attributes = child->GetAttributes();
        const bool is_item =
            attributes.HasBulletStyle() && attributes.GetBulletStyle() != wxTEXT_ATTR_BULLET_STYLE_NONE;
        Bullet& bullet = bullets.emplace_back();
        if (!is_item) continue;
        bullet.text = ui::FromWx(attributes.GetBulletText());
        bullet.level = std::max(1, static_cast<int>(attributes.GetLeftIndent() / kLevelIndent));
    }
    return bullets;
}

// Where items have come or gone since the text was set, those after the first of a list go on from its number.
void RichEditor::NumberAnew(std::vector<Bullet>& bullets) {
    std::vector<std::optional<exchange::ItemNumber>> last;  // at each level
    for (Bullet& bullet : bullets) {
        last.resize(static_cast<std::size_t>(bullet.level));
        if (bullet.level == 0) continue;
        std::optional<exchange::ItemNumber>& before = last.back();
        std::optional<exchange::ItemNumber> number = exchange::ItemNumberOf(bullet.text, before);
        if (number && before) number = {before->numbering, before->number + 1};
        if (number) bullet.text = exchange::BulletOf(*number);
        before = number;
    }
}

void RichEditor::WritePicture(std::shared_ptr<const document::Picture> picture) {
    const int width = std::max(1, picture->width / document::kTwipsPerPixel);
    const int height = std::max(1, picture->height / document::kTwipsPerPixel);
    wxImage image = ui::DecodePicture(*picture, wxSize(width, height));
    if (image.IsOk()) {
        image = OnGround(image, GetBackgroundColour());
    } else {
        image = wxImage(width, height);
        image.SetRGB(wxRect(0, 0, width, height), 200, 200, 200);
    }
    wxRichTextAttr attributes;
    attributes.SetURL(kPicture + std::to_string(pictures_.size()));
    attributes.GetTextBoxAttr().GetWidth().SetValue(width, wxTEXT_ATTR_UNITS_PIXELS);
    attributes.GetTextBoxAttr().GetHeight().SetValue(height, wxTEXT_ATTR_UNITS_PIXELS);
    pictures_.push_back(std::move(picture));
    WriteImage(image, wxBITMAP_TYPE_BMP, attributes);
}

document::RichText RichEditor::GetRich() {
    document::RichText text;
    bool first = true;
    std::vector<Bullet> bullets = Bullets();
    if (bullets != bullets_) NumberAnew(bullets);
    auto bullet = bullets.begin();
    for (const wxRichTextObject* child : GetBuffer().GetChildren()) {
        const Bullet& own = *bullet++;
        const auto* paragraph = dynamic_cast<const wxRichTextParagraph*>(child);
        if (paragraph == nullptr) continue;
        if (!std::exchange(first, false)) text.EndParagraph();
        text.SetParagraphFormat(own.text.empty() ? document::ParagraphFormat()
                                                 : exchange::ItemFormat(own.text, own.level));
        for (const wxRichTextObject* object : paragraph->GetChildren()) {
            const wxRichTextAttr attributes = paragraph->GetCombinedAttributes(object->GetAttributes(), true);
            if (const auto* plain = dynamic_cast<const wxRichTextPlainText*>(object)) {
                wxString written = plain->GetText();
                written.Replace(wxString(wxRichTextLineBreakChar), "\n");
                text.AppendText(ui::FromWx(written), FormatOf(attributes));
            } else if (dynamic_cast<const wxRichTextImage*>(object) != nullptr) {
                unsigned long place = 0;
                wxString rest;
                const wxString url = object->GetAttributes().GetURL();
                if (url.StartsWith(kPicture, &rest) && rest.ToULong(&place) && place < pictures_.size()) {
                    text.AppendPicture(*pictures_[place]);
                }
            }
        }
    }
    return exchange::Canonical(text);
}

void RichEditor::ToggleScript(bool super) {
    const int effect = super ? wxTEXT_ATTR_EFFECT_SUPERSCRIPT : wxTEXT_ATTR_EFFECT_SUBSCRIPT;
    wxRichTextAttr attributes;
    GetStyle(HasSelection() ? GetSelectionRange().GetStart() : GetInsertionPoint(), attributes);
    const bool on = attributes.HasTextEffects() && (attributes.GetTextEffects() & effect) != 0;
    wxRichTextAttr change;
    change.SetTextEffects(on ? 0 : effect);
    change.SetTextEffectFlags(wxTEXT_ATTR_EFFECT_SUPERSCRIPT | wxTEXT_ATTR_EFFECT_SUBSCRIPT);
    if (HasSelection()) {
        SetStyleEx(GetSelectionRange(), change);
    } else {
        SetAndShowDefaultStyle(change);
    }
}

void RichEditor::ToggleProgram() {
    wxRichTextAttr attributes;
    GetStyle(HasSelection() ? GetSelectionRange().GetStart() : GetInsertionPoint(), attributes);
    const wxString program = ui::ToWx(exchange::kProgramFont);
    const bool on = attributes.HasFontFaceName() && attributes.GetFontFaceName() == program;
    wxRichTextAttr change;
    change.SetFontFaceName(on ? GetBasicStyle().GetFontFaceName() : program);
    if (HasSelection()) {
        SetStyleEx(GetSelectionRange(), change);
    } else {
        SetAndShowDefaultStyle(change);
    }
}

void RichEditor::ToggleBullets() {
    wxRichTextAttr attributes;
    GetStyle(GetInsertionPoint(), attributes);
    const bool on = attributes.HasBulletStyle() && attributes.GetBulletStyle() != wxTEXT_ATTR_BULLET_STYLE_NONE;
    wxRichTextAttr change;
    SetBullet(change, L"•", 1);
    if (on) {
        change.SetBulletStyle(wxTEXT_ATTR_BULLET_STYLE_NONE);
        change.SetLeftIndent(0, 0);
    }
    SetStyleEx(HasSelection() ? GetSelectionRange() : wxRichTextRange(GetInsertionPoint(), GetInsertionPoint() + 1),
               change, wxRICHTEXT_SETSTYLE_WITH_UNDO | wxRICHTEXT_SETSTYLE_PARAGRAPHS_ONLY);
}

bool RichEditor::InsertPicture(const wxString& file) {
    const std::string bytes = exchange::ReadBytes(ui::FromWx(file));
    auto picture = exchange::MakePicture(Bytes(bytes.begin(), bytes.end()));
    if (!picture) return false;
    WritePicture(std::make_shared<const document::Picture>(*std::move(picture)));
    return true;
}

}  // namespace qmtrain::host
