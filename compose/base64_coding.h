// CBase64Coding: base64 on the framework's containers.
#pragma once

#include <afx.h>
#include <afxcoll.h>

// The text is that of base64_codec.h: it always ends in padding, and texts in a CString break their line once. Failures
// show in the results alone; out of memory is thrown by the containers. No object is shared between threads.
//
// The order of the virtual functions is fixed, with the encoders and the decoders each in the reverse of their order
// below: BuildDecodeTable, destructor, Decode(CString), Decode(CByteArray), Encode(pointer), Encode(CByteArray,
// CString), Encode(CByteArray, CByteArray).
class CBase64Coding {
public:
    CBase64Coding() { m_table[0] = 0; } // the others are not touched before the table is built

    // Fills the decode table; called by the first Decode.
    virtual void BuildDecodeTable();
    virtual ~CBase64Coding();

    // 1 if the text was ended by padding, behind which everything is ignored, otherwise 0. Malformed text (a foreign
    // character, an end inside a group, blanks behind the last group) gives 0 and no bytes, so look at their number.
    // Text and bytes may be one array.
    virtual int Decode(const CByteArray& text, CByteArray& bytes);
    virtual int Decode(const CString& text, CByteArray& bytes);

    // Always 1. The first one makes no line break; data and text may be one array. A negative length counts as 0.
    virtual int Encode(const CByteArray& data, CByteArray& text);
    virtual int Encode(const CByteArray& data, CString& text);
    virtual int Encode(const unsigned char* data, int length, CString& text);

private:
    int decode(const void* text, int length, CByteArray& bytes);

    unsigned char m_table[256]; // entry 0 is 0 until the table is built, and 0xFF from then on
};
