#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

namespace veldane {

/// Thrown as an int when the memory of an array cannot be had.
constexpr int allocationFailure = 999;

/// The mark of a missing value: the quiet NaN with the bits 0x7FC00000.
constexpr float missingValue() {
    return std::numeric_limits<float>::quiet_NaN();
}

template <class T>
constexpr bool isMissing(T value) {
    return value != value;
}

/// The number of elements of an array. An extent below 1 gives 0, a count that an int cannot hold
/// is an allocation failure.
inline int elementCount(int rows, int cols, int pages = 1) {
    if (rows < 1 || cols < 1 || pages < 1) return 0;
    constexpr int64_t most = std::numeric_limits<int>::max();
    const int64_t plane = int64_t{rows} * cols;
    if (plane > most || plane * pages > most) throw allocationFailure;
    return static_cast<int>(plane * pages);
}

/// A one-dimensional array that owns its block together with its copies, or wraps a foreign one, or
/// is empty. Copying and assigning never copy elements. The counts are not atomic.
template <class T>
class Vector {
    static_assert(std::is_trivial_v<T>);

  public:
    Vector() = default;

    /// Elements left uninitialised; a size below 1 gives an empty array.
    explicit Vector(int size) {
        if (size < 1) return;
        data_ = allocate(size);
        refs_ = new (std::nothrow) int32_t(1);
        if (!refs_) {
            std::free(data_);
            throw allocationFailure;
        }
        size_ = size;
        begin_ = data_;
    }

    Vector(int size, T fill) : Vector(size) { std::fill_n(begin_, size_, fill); }

    /// Wraps elements that belong to somebody else.
    Vector(int size, T* elements) : data_(elements), size_(size), begin_(elements) {}

    Vector(const Vector& other) noexcept
        : data_(other.data_), refs_(other.refs_), size_(other.size_), begin_(other.begin_) {
        if (refs_) ++*refs_;
    }
    Vector(Vector&& other) noexcept { swap(other); }
    Vector& operator=(Vector other) noexcept {
        swap(other);
        return *this;
    }
    ~Vector() {
        if (!refs_ || --*refs_ > 0) return;
        delete refs_;
        std::free(data_);
    }

    int size() const { return size_; }
    T* data() const { return begin_; }
    T& operator[](int i) const { return begin_[i]; }
    T* begin() const { return begin_; }
    T* end() const { return begin_ + size_; }

    /// How many arrays share the block; 0 for a wrapper and for an empty array.
    int owners() const { return refs_ ? *refs_ : 0; }

  private:
    /// Blocks start on a cache line. There is no element constructor to run.
    static T* allocate(int size) {
        constexpr size_t line = 64;
        const size_t bytes = (static_cast<size_t>(size) * sizeof(T) + line - 1) / line * line;
        void* block = std::aligned_alloc(line, bytes);
        if (!block) throw allocationFailure;
        return static_cast<T*>(block);
    }

    void swap(Vector& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(refs_, other.refs_);
        std::swap(size_, other.size_);
        std::swap(begin_, other.begin_);
    }

    T* data_ = nullptr;
    int32_t* refs_ = nullptr;
    int32_t size_ = 0;
    T* begin_ = nullptr;
};

/// A matrix, row-major. Element (i, j) is matrix[i][j], always through the row table, so that a
/// view, whose rows lie inside another matrix, is used like an owner.
template <class T>
class Matrix {
  public:
    Matrix() = default;
    Matrix(int rows, int cols) : Matrix(rows, cols, Vector<T>(elementCount(rows, cols))) {}
    Matrix(int rows, int cols, T fill)
        : Matrix(rows, cols, Vector<T>(elementCount(rows, cols), fill)) {}
    Matrix(int rows, int cols, T* elements)
        : Matrix(rows, cols, Vector<T>(elementCount(rows, cols), elements)) {}

    int rows() const { return rows_; }
    int cols() const { return cols_; }
    int size() const { return rows_ * cols_; }
    T* operator[](int i) const { return table_[i]; }

    /// The rows to loop over: a matrix without columns has none to point to.
    int filledRows() const { return cols_ > 0 ? rows_ : 0; }

    /// Pointers to the rows.
    T* const* table() const { return table_.data(); }
    const Vector<T>& storage() const { return storage_; }

    /// True if each row follows the one before, as in every array but a view.
    bool contiguous() const {
        for (int i = 1; i < filledRows(); ++i) {
            if (table_[i] != table_[i - 1] + cols_) return false;
        }
        return true;
    }

    /// Rows r0..r1 and columns c0..c1, ends included, on the same storage. An empty matrix if an
    /// end lies before its start or the range leaves this matrix.
    Matrix view(int r0, int r1, int c0, int c1) const {
        Matrix result;
        if (r1 < r0 || c1 < c0 || r0 < 0 || c0 < 0 || r1 >= rows_ || c1 >= cols_) return result;
        result.storage_ = storage_;
        result.rows_ = r1 - r0 + 1;
        result.cols_ = c1 - c0 + 1;
        result.table_ = Vector<T*>(result.rows_);
        for (int i = 0; i < result.rows_; ++i) result.table_[i] = table_[r0 + i] + c0;
        return result;
    }

    /// The rows of these numbers, in this order, on the same storage. A number outside of this
    /// matrix is the caller's fault.
    Matrix selectRows(const Vector<int32_t>& numbers) const {
        Matrix result;
        result.storage_ = storage_;
        result.rows_ = numbers.size();
        result.cols_ = cols_;
        if (result.size() == 0) return result;
        result.table_ = Vector<T*>(result.rows_);
        for (int i = 0; i < result.rows_; ++i) result.table_[i] = table_[numbers[i]];
        return result;
    }

    /// A private copy, contiguous whatever this matrix is.
    Matrix clone() const {
        Matrix result(rows_, cols_);
        for (int i = 0; i < filledRows(); ++i) std::copy_n(table_[i], cols_, result[i]);
        return result;
    }

  private:
    Matrix(int rows, int cols, Vector<T> storage)
        : storage_(std::move(storage)), rows_(rows < 0 ? 0 : rows), cols_(cols < 0 ? 0 : cols) {
        if (storage_.size() == 0) return;
        table_ = Vector<T*>(rows_);
        for (int i = 0; i < rows_; ++i) table_[i] = storage_.data() + int64_t{i} * cols_;
    }

    Vector<T> storage_;
    Vector<T*> table_;
    int32_t rows_ = 0;
    int32_t cols_ = 0;
};

/// A three-way array n1 x n2 x n3, element (i, j, k) is cube[i][j][k] and the last index is the
/// fastest.
template <class T>
class Cube {
  public:
    Cube() = default;
    Cube(int n1, int n2, int n3, T fill)
        : Cube(n1, n2, n3, Vector<T>(elementCount(n1, n2, n3), fill)) {}
    Cube(int n1, int n2, int n3, T* elements)
        : Cube(n1, n2, n3, Vector<T>(elementCount(n1, n2, n3), elements)) {}

    int rows() const { return n1_; }
    int cols() const { return n2_; }
    int pages() const { return n3_; }
    int size() const { return storage_.size(); }
    T** operator[](int i) const { return pageTable_[i]; }
    const Vector<T>& storage() const { return storage_; }

  private:
    Cube(int n1, int n2, int n3, Vector<T> storage)
        : storage_(std::move(storage)),
          n1_(n1 < 0 ? 0 : n1),
          n2_(n2 < 0 ? 0 : n2),
          n3_(n3 < 0 ? 0 : n3) {
        if (storage_.size() == 0) return;
        const int runs = n1_ * n2_;
        runTable_ = Vector<T*>(runs);
        for (int i = 0; i < runs; ++i) runTable_[i] = storage_.data() + int64_t{i} * n3_;
        pageTable_ = Vector<T**>(n1_);
        for (int i = 0; i < n1_; ++i) pageTable_[i] = runTable_.data() + int64_t{i} * n2_;
    }

    Vector<T> storage_;
    Vector<T*> runTable_;
    Vector<T**> pageTable_;
    int32_t n1_ = 0;
    int32_t n2_ = 0;
    int32_t n3_ = 0;
};

using FVector = Vector<float>;
using IVector = Vector<int32_t>;
using FMatrix = Matrix<float>;
using IMatrix = Matrix<int32_t>;
using FCube = Cube<float>;

}  // namespace veldane
