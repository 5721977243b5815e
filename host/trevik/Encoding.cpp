#include "trevik/Encoding.h"

namespace trevik {

namespace {

int const FirstSupplementary = 0x10000;

bool IsHighSurrogate(int unit) {
    return unit >= 0xd800 && unit <= 0xdbff;
}

bool IsLowSurrogate(int unit) {
    return unit >= 0xdc00 && unit <= 0xdfff;
}

int JoinSurrogates(int high, int low) {
    return FirstSupplementary + ((high - 0xd800) << 10) + (low - 0xdc00);
}

int HighSurrogate(int codePoint) {
    return 0xd800 + ((codePoint - FirstSupplementary) >> 10);
}

int LowSurrogate(int codePoint) {
    return 0xdc00 + ((codePoint - FirstSupplementary) & 0x3ff);
}

int UnitAt(char const* text, int index) {
    return static_cast<unsigned char>(text[index]);
}

/**
 * Reads one continuation unit onto the value when it lies between the limits, which are narrower than 0x80 to
 * 0xbf where anything else would be an overlong form, a surrogate or too large.
 */
bool TakeContinuation(char const* text, int& index, int length, int& value, int lowest = 0x80,
                      int highest = 0xbf) {
    if (index >= length) {
        return false;
    }
    int const unit = UnitAt(text, index);
    if (unit < lowest || unit > highest) {
        return false;
    }
    value = (value << 6) | (unit & 0x3f);
    ++index;
    return true;
}

void PutContinuation(char* text, int& index, int value) {
    text[index++] = static_cast<char>(0x80 | (value & 0x3f));
}

/** Writes two or three units. */
void PutShortForm(char* text, int& index, int value) {
    if (value < 0x800) {
        text[index++] = static_cast<char>(0xc0 | (value >> 6));
    } else {
        text[index++] = static_cast<char>(0xe0 | (value >> 12));
        PutContinuation(text, index, value >> 6);
    }
    PutContinuation(text, index, value);
}

/** Reads the two units behind the lead unit of a three-unit form; a surrogate counts as a value, too. */
bool TakeThreeUnitForm(char const* text, int& index, int length, int lead, int& value) {
    value = lead & 0x0f;
    return TakeContinuation(text, index, length, value, lead == 0xe0 ? 0xa0 : 0x80) &&
           TakeContinuation(text, index, length, value);
}

} // namespace

int UTF8Encoding::GetNextChar(Unit const* text, int& index, int length) {
    if (index >= length) {
        return 0;
    }
    int const lead = UnitAt(text, index++);
    if (lead < 0x80) {
        return lead;
    }
    int value = 0;
    bool whole = false;
    if (lead >= 0xc2 && lead <= 0xdf) {
        value = lead & 0x1f;
        whole = TakeContinuation(text, index, length, value);
    } else if (lead >= 0xe0 && lead <= 0xef) {
        value = lead & 0x0f;
        whole = TakeContinuation(text, index, length, value, lead == 0xe0 ? 0xa0 : 0x80,
                                 lead == 0xed ? 0x9f : 0xbf) &&
                TakeContinuation(text, index, length, value);
    } else if (lead >= 0xf0 && lead <= 0xf4) {
        value = lead & 0x07;
        whole = TakeContinuation(text, index, length, value, lead == 0xf0 ? 0x90 : 0x80,
                                 lead == 0xf4 ? 0x8f : 0xbf) &&
                TakeContinuation(text, index, length, value) && TakeContinuation(text, index, length, value);
    }
    return whole ? value : int(CodePoint::Replacement);
}

bool UTF8Encoding::PutNextChar(Unit* text, int& index, int capacity, int codePoint) {
    int const value = CodePoint::Sanitize(codePoint);
    if (GetElementCount(value) > capacity - index) {
        return false;
    }
    if (value < 0x80) {
        text[index++] = static_cast<char>(value);
    } else if (value < FirstSupplementary) {
        PutShortForm(text, index, value);
    } else {
        text[index++] = static_cast<char>(0xf0 | (value >> 18));
        PutContinuation(text, index, value >> 12);
        PutContinuation(text, index, value >> 6);
        PutContinuation(text, index, value);
    }
    return true;
}

int UTF8Encoding::GetElementCount(int codePoint) {
    int const value = CodePoint::Sanitize(codePoint);
    return value < 0x80 ? 1 : value < 0x800 ? 2 : value < FirstSupplementary ? 3 : 4;
}

int UTF16Encoding::GetNextChar(Unit const* text, int& index, int length) {
    if (index >= length) {
        return 0;
    }
    int const unit = text[index++];
    if (IsHighSurrogate(unit) && index < length && IsLowSurrogate(text[index])) {
        return JoinSurrogates(unit, text[index++]);
    }
    return CodePoint::Sanitize(unit);
}

bool UTF16Encoding::PutNextChar(Unit* text, int& index, int capacity, int codePoint) {
    int const value = CodePoint::Sanitize(codePoint);
    if (GetElementCount(value) > capacity - index) {
        return false;
    }
    if (value < FirstSupplementary) {
        text[index++] = static_cast<char16_t>(value);
    } else {
        text[index++] = static_cast<char16_t>(HighSurrogate(value));
        text[index++] = static_cast<char16_t>(LowSurrogate(value));
    }
    return true;
}

int UTF16Encoding::GetElementCount(int codePoint) {
    return CodePoint::Sanitize(codePoint) < FirstSupplementary ? 1 : 2;
}

int JavaEncoding::GetNextChar(Unit const* text, int& index, int length) {
    if (index >= length) {
        return 0;
    }
    int const lead = UnitAt(text, index++);
    if (lead < 0x80) {
        return lead;
    }
    int value = lead & 0x1f;
    if (lead == 0xc0) {
        return TakeContinuation(text, index, length, value, 0x80, 0x80) ? 0 : int(CodePoint::Replacement);
    }
    if (lead >= 0xc2 && lead <= 0xdf) {
        return TakeContinuation(text, index, length, value) ? value : int(CodePoint::Replacement);
    }
    if (lead < 0xe0 || lead > 0xef || !TakeThreeUnitForm(text, index, length, lead, value)) {
        return CodePoint::Replacement;
    }
    if (IsHighSurrogate(value) && index < length && UnitAt(text, index) == 0xed) {
        int next = index + 1;
        int low = 0;
        if (TakeThreeUnitForm(text, next, length, 0xed, low) && IsLowSurrogate(low)) {
            index = next;
            return JoinSurrogates(value, low);
        }
    }
    return CodePoint::Sanitize(value);
}

bool JavaEncoding::PutNextChar(Unit* text, int& index, int capacity, int codePoint) {
    int const value = CodePoint::Sanitize(codePoint);
    if (GetElementCount(value) > capacity - index) {
        return false;
    }
    if (value > 0 && value < 0x80) {
        text[index++] = static_cast<char>(value);
    } else if (value < FirstSupplementary) {
        PutShortForm(text, index, value);
    } else {
        PutShortForm(text, index, HighSurrogate(value));
        PutShortForm(text, index, LowSurrogate(value));
    }
    return true;
}

int JavaEncoding::GetElementCount(int codePoint) {
    int const value = CodePoint::Sanitize(codePoint);
    return value > 0 && value < 0x80 ? 1 : value < 0x800 ? 2 : value < FirstSupplementary ? 3 : 6;
}

} // namespace trevik
