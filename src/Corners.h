#pragma once

namespace trevik::kelvo {

/**
 * A value for each of a sprite's four corners, or, before they have been set, none. Like a list of up to four
 * elements, but one without storage of its own: it is in the sprite, where drawing finds it at once, and
 * there is always memory for it.
 */
template <class T>
class Corners {
public:
    /** 4, or 0 before Set. */
    unsigned int GetCount() const { return m_nCount; }
    /** Whether nothing has been set. */
    bool IsEmpty() const { return m_nCount == 0; }

    /** Sets all four: (0, 0), (0, h), (w, 0), (w, h). */
    void Set(T const& lowerLeft, T const& upperLeft, T const& lowerRight, T const& upperRight) {
        m_values[0] = lowerLeft;
        m_values[1] = upperLeft;
        m_values[2] = lowerRight;
        m_values[3] = upperRight;
        m_nCount = 4;
    }

    /** The values, one after the other; to be read once they are set. */
    T* GetData() { return m_values; }
    T const* GetData() const { return m_values; }
    /** The value of one corner. */
    T& operator[](unsigned int nCorner) { return m_values[nCorner]; }
    T const& operator[](unsigned int nCorner) const { return m_values[nCorner]; }
    /** The first value, for loops. */
    T* begin() { return m_values; }
    T const* begin() const { return m_values; }
    /** Behind the last value, for loops. */
    T* end() { return m_values + m_nCount; }
    T const* end() const { return m_values + m_nCount; }

private:
    unsigned int m_nCount = 0; // first, for those who only look whether there are values
    T m_values[4];
};

} // namespace trevik::kelvo
