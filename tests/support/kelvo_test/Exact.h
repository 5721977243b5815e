#pragma once

#include "trevik/Matrix.h"

#include <array>
#include <cmath>

/** What tests compute their expectations with: double precision, and the textbook's formulas written out. */
namespace kelvokit::test {

/** A column vector. */
using ExactPoint = std::array<double, 4>;

/** A matrix for column vectors; the first index is the row. */
struct ExactMatrix {
    double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

    ExactMatrix() = default;

    /** From 16 elements, column after column. */
    template <class T>
    explicit ExactMatrix(T const* elements) {
        for (int i = 0; i < 16; ++i) {
            m[i % 4][i / 4] = static_cast<double>(elements[i]);
        }
    }
    explicit ExactMatrix(trevik::Matrix4T<float> const& matrix) : ExactMatrix(matrix.m) {}

    ExactPoint operator*(ExactPoint const& point) const {
        ExactPoint result = {};
        for (int row = 0; row < 4; ++row) {
            for (int i = 0; i < 4; ++i) {
                result[static_cast<std::size_t>(row)] += m[row][i] * point[static_cast<std::size_t>(i)];
            }
        }
        return result;
    }

    /** The ordinary product: what stands on the right is applied first. */
    ExactMatrix operator*(ExactMatrix const& other) const {
        ExactMatrix result;
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                result.m[row][column] = 0;
                for (int i = 0; i < 4; ++i) {
                    result.m[row][column] += m[row][i] * other.m[i][column];
                }
            }
        }
        return result;
    }
};

inline ExactMatrix ExactTranslation(double x, double y, double z) {
    ExactMatrix result;
    result.m[0][3] = x;
    result.m[1][3] = y;
    result.m[2][3] = z;
    return result;
}

/** The point with w = 1 that stands for the same place. */
inline ExactPoint ExactDivided(ExactPoint const& point) {
    return {point[0] / point[3], point[1] / point[3], point[2] / point[3], 1};
}

} // namespace kelvokit::test
