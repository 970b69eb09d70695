// CSuperBuffer: one growing block of bytes, the body of an upload.
//
// An append allocates a new block of exactly the combined length, copies the old bytes, adds the new ones and frees the
// old block. What belongs together is therefore appended together: however many pieces one append takes, it allocates
// once and each byte is moved once, straight from its file into its place.
//
// Every append that can't be served, or that would pass 2 GiB - 1, throws gen::genlib_out_of_memory and changes
// nothing.
#pragma once

#include "base/std_string.h"
#include "net/upload_file.h"

class CSuperBuffer {
public:
    // Something to append: nothing at first, then a text or a file. Set once, appended once.
    class Piece {
    public:
        Piece() = default;

        Piece(const Piece&) = delete;
        Piece& operator=(const Piece&) = delete;

        // The text without its terminator. Both keep what the caller owns only by address, so it must outlive the
        // piece.
        void SetText(const CStdString& text) noexcept;
        void SetText(CStdString&& text) = delete;
        void SetText(const char* text) noexcept;

        // The bytes of the file at `path` as they are when the piece is appended, but at most as many as it has now:
        // the file is open until the piece is gone. An empty path, a file that isn't there and one that can't be opened
        // (a folder, say) give no bytes; no distinction is made. Others may go on writing the file.
        void SetFile(const char* path);

        // Bytes that the piece will need at most.
        unsigned GetSize() const { return m_size; }

    private:
        friend class CSuperBuffer;

        // Puts the bytes at `to`, where there is space for GetSize() bytes, and returns how many there were.
        unsigned CopyTo(char* to) const;

        const char* m_text = nullptr;
        UploadFile m_file;
        unsigned m_size = 0;
    };

    CSuperBuffer();
    virtual ~CSuperBuffer();

    CSuperBuffer(const CSuperBuffer&) = delete;
    CSuperBuffer& operator=(const CSuperBuffer&) = delete;

    // The text without its terminator.
    void Append(const CStdString& text);
    // As Piece::SetFile.
    void AppendFile(const char* path);
    // All pieces, in their order.
    void Append(const Piece* pieces, unsigned count);

    // Null as long as nothing was appended; valid until the next append.
    const char* GetData() const { return m_data; }
    // In bytes; zero bytes count like others.
    unsigned GetLength() const { return m_length; }

private:
    unsigned m_length = 0;
    char* m_data = nullptr; // from malloc
};
