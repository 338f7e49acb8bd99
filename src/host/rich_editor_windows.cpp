// The toolkit for Windows is built without XML. Its rich text library declares these all the same and leaves them
// out; the editor writes no XML.
#include <wx/richtext/richtextbuffer.h>

#define QMTRAIN_NO_XML(Class)                                            \
    bool Class::ExportXML(wxOutputStream&, int, wxRichTextXMLHandler*) { \
        return false;                                                    \
    }                                                                    \
    bool Class::ExportXML(wxXmlNode*, wxRichTextXMLHandler*) {           \
        return false;                                                    \
    }

QMTRAIN_NO_XML(wxRichTextObject)
QMTRAIN_NO_XML(wxRichTextParagraphLayoutBox)
QMTRAIN_NO_XML(wxRichTextPlainText)
QMTRAIN_NO_XML(wxRichTextImage)
QMTRAIN_NO_XML(wxRichTextTable)
