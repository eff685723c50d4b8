#include "kavra/standalone/Matrices.h"

#include "kavra/standalone/Arithmetic.h"
#include "kavra/standalone/Conversion.h"

#include <algorithm>

namespace kavra::standalone {
namespace {

void requireMatrix(const HostArray& array) {
  if (array.dimensions().size() > 2)
    fail("this is for arrays of two dimensions");
}

/// The class of a product or quotient of matrices; integers have none of those.
ArrayClass matrixClass(const HostArray& a, const HostArray& b) {
  requireMatrix(a);
  requireMatrix(b);
  if (isInteger(a.arrayClass()) || isInteger(b.arrayClass()))
    fail("matrices of integers have no products");
  return arithmeticClass(a, b);
}

HostArray identity(Budget& budget, std::uint64_t size) {
  auto result = makeArray(budget, ArrayClass::Double, {size, size});
  auto out = result.mutableData<double>();
  for (std::uint64_t i = 0; i < size; ++i)
    out[static_cast<std::size_t>(i * size + i)] = 1;
  return result;
}

HostArray product(Budget& budget, const HostArray& a, const HostArray& b) {
  auto c = matrixClass(a, b);
  auto rows = a.dimensions()[0], inner = a.dimensions()[1], columns = b.dimensions()[1];
  if (inner != b.dimensions()[0])
    fail("the inner dimensions do not match");
  std::uint64_t work[] = {rows, inner, columns};
  auto steps = checkedProduct(work, budget.limits().steps);
  if (!steps)
    fail("the expression takes too long");
  budget.spend(*steps);

  auto result = makeArray(budget, ArrayClass::Double, {rows, columns});
  if (result.isEmpty())
    return convert(budget, result, c);
  Operand<double> left(budget, a), right(budget, b);
  auto out = result.mutableData<double>();
  auto n = static_cast<std::size_t>(rows), m = static_cast<std::size_t>(inner);
  for (std::size_t j = 0; j < static_cast<std::size_t>(columns); ++j) {
    for (std::size_t k = 0; k < m; ++k) {
      double factor = right.values()[j * m + k];
      for (std::size_t i = 0; i < n; ++i)
        out[j * n + i] += left.values()[k * n + i] * factor;
    }
  }
  return convert(budget, result, c);
}

/// Gaussian elimination with row exchange, in place: afterwards `right` holds the solution.
void eliminate(std::span<double> matrix, std::size_t n, std::span<double> right, std::size_t columns) {
  for (std::size_t k = 0; k < n; ++k) {
    auto pivot = k;
    for (std::size_t i = k + 1; i < n; ++i) {
      if (std::abs(matrix[k * n + i]) > std::abs(matrix[k * n + pivot]))
        pivot = i;
    }
    if (!(std::abs(matrix[k * n + pivot]) > 0))
      fail("the matrix is singular");
    for (std::size_t j = 0; j < n; ++j)
      std::swap(matrix[j * n + k], matrix[j * n + pivot]);
    for (std::size_t j = 0; j < columns; ++j)
      std::swap(right[j * n + k], right[j * n + pivot]);
    for (std::size_t i = k + 1; i < n; ++i) {
      double factor = matrix[k * n + i] / matrix[k * n + k];
      for (std::size_t j = k + 1; j < n; ++j)
        matrix[j * n + i] -= factor * matrix[j * n + k];
      for (std::size_t j = 0; j < columns; ++j)
        right[j * n + i] -= factor * right[j * n + k];
    }
  }
  for (std::size_t j = 0; j < columns; ++j) {
    for (std::size_t i = n; i-- > 0;) {
      double value = right[j * n + i];
      for (std::size_t k = i + 1; k < n; ++k)
        value -= matrix[k * n + i] * right[j * n + k];
      right[j * n + i] = value / matrix[i * n + i];
    }
  }
}

HostArray solve(Budget& budget, const HostArray& a, const HostArray& b) {
  auto c = matrixClass(a, b);
  auto n = a.dimensions()[0], columns = b.dimensions()[1];
  if (n != a.dimensions()[1])
    fail("only square systems are solved");
  if (n != b.dimensions()[0])
    fail("the dimensions do not match");
  if (b.isEmpty())
    return convert(budget, b, c);
  std::uint64_t work[] = {n, n, n + columns};
  auto steps = checkedProduct(work, budget.limits().steps);
  if (!steps)
    fail("the expression takes too long");
  budget.spend(*steps);

  auto matrix = convert(budget, a, ArrayClass::Double), right = convert(budget, b, ArrayClass::Double);
  budget.charge(ArrayClass::Double, matrix.dimensions());
  budget.charge(ArrayClass::Double, right.dimensions());
  eliminate(matrix.mutableData<double>(), static_cast<std::size_t>(n), right.mutableData<double>(),
            static_cast<std::size_t>(columns));
  return convert(budget, right, c);
}

} // namespace

HostArray transpose(Budget& budget, const HostArray& array) {
  requireMatrix(array);
  if (array.arrayClass() == ArrayClass::Opaque)
    fail("this object cannot be transposed");
  auto rows = array.dimensions()[0], columns = array.dimensions()[1];
  if (rows == 1 && columns == 1)
    return array;
  auto count = budget.charge(array.arrayClass(), {columns, rows});
  if (array.isVector() || array.isEmpty())
    return array.reshaped({columns, rows});
  budget.reserve(count * sizeof(std::uint64_t));
  Indices indices;
  indices.reserve(static_cast<std::size_t>(count));
  for (std::uint64_t r = 0; r < rows; ++r) {
    for (std::uint64_t c = 0; c < columns; ++c)
      indices.push_back(c * rows + r);
  }
  return array.select({columns, rows}, viewOf(indices));
}

HostArray multiply(Budget& budget, const HostArray& a, const HostArray& b) {
  if (a.isScalar() || b.isScalar())
    return elementwise(budget, TokenKind::Times, a, b);
  return product(budget, a, b);
}

HostArray divide(Budget& budget, const HostArray& a, const HostArray& b) {
  if (b.isScalar())
    return elementwise(budget, TokenKind::Divide, a, b);
  requireMatrix(a);
  requireMatrix(b);
  return transpose(budget, solve(budget, transpose(budget, b), transpose(budget, a)));
}

HostArray leftDivide(Budget& budget, const HostArray& a, const HostArray& b) {
  if (a.isScalar())
    return elementwise(budget, TokenKind::LeftDivide, a, b);
  return solve(budget, a, b);
}

HostArray power(Budget& budget, const HostArray& a, const HostArray& b) {
  if (a.isScalar() && b.isScalar())
    return elementwise(budget, TokenKind::Power, a, b);
  matrixClass(a, b);
  auto exponent = b.asNumber();
  if (!exponent || *exponent != std::floor(*exponent) || std::abs(*exponent) > 1e9)
    fail("a matrix is raised to an integer only");
  auto size = a.dimensions()[0];
  if (size != a.dimensions()[1])
    fail("only a square matrix has powers");

  auto result = identity(budget, size);
  auto base = *exponent < 0 ? solve(budget, a, result) : a;
  for (auto rest = static_cast<std::uint64_t>(std::abs(*exponent)); rest > 0; rest /= 2) {
    if (rest % 2 == 1)
      result = product(budget, result, base);
    if (rest > 1)
      base = product(budget, base, base);
  }
  return convert(budget, result, arithmeticClass(a, b));
}

} // namespace kavra::standalone
