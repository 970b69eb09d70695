// Which key messages a report dialog takes. Pure logic.
#pragma once

namespace report {

// Who types, or holds a key, while the program fails must not answer the dialog by it. A key counts from its press to
// its release if it was pressed a second or more after the dialog was shown, and while no key from before was down.
// Keys are numbers below 256; times are those of messages, in milliseconds, and may wrap round.
class KeyFilter {
public:
    static constexpr int kDeafMilliseconds = 1000;

    // The dialog is on the screen. Until the first call nothing counts; each call begins anew.
    void shown(unsigned now) {
        *this = KeyFilter();
        m_shown = true;
        m_since = now;
    }
    bool is_shown() const { return m_shown; }

    // Whether the press may answer. repeats: the key was down already, as its message says.
    bool press(unsigned char key, bool repeats, unsigned time) {
        if (repeats && m_counts[key])
            return true;
        if (repeats)
            m_held = key;
        else if (key == m_held)
            m_held = 0;
        m_counts[key] = !repeats && !m_held && m_shown && static_cast<int>(time - m_since) >= kDeafMilliseconds;
        return m_counts[key];
    }

    // Whether the release may answer.
    bool release(unsigned char key) {
        const bool counted = m_counts[key];
        m_counts[key] = false;
        if (key == m_held)
            m_held = 0;
        return counted;
    }

    // The key from before that is down, as far as was heard; 0 for none.
    unsigned char held() const { return m_held; }
    // Its release went elsewhere.
    void forget_held() { m_held = 0; }

private:
    bool m_counts[256] = {};
    unsigned char m_held = 0;
    bool m_shown = false;
    unsigned m_since = 0;
};

} // namespace report
