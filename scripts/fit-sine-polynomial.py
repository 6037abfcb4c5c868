#!/usr/bin/python3
"""Fits the odd polynomial of the vector sine: sin(r) = r * (1 + t * Q(t)), t = r * r, for
|r| <= pi / 2, with Q of degree DEGREE. Q interpolates (sin(r) / r - 1) / t at the Chebyshev
nodes of [0, (pi/2)^2], in 60-digit arithmetic, and the coefficients are printed as C++ double
literals (round to nearest) with the largest relative error of the whole polynomial, evaluated
as the library does (Horner in double), on a dense grid.

Run with Debian's python3-mpmath: /usr/bin/python3 scripts/fit-sine-polynomial.py
"""
import sys

import mpmath

mpmath.mp.dps = 60
DEGREE = int(sys.argv[1]) if len(sys.argv) > 1 else 7
T_MAX = (mpmath.pi / 2) ** 2


def q_exact(t):
    if t == 0:
        return mpmath.mpf(-1) / 6
    r = mpmath.sqrt(t)
    return (mpmath.sin(r) / r - 1) / t


def chebyshev_nodes(n):
    return [T_MAX / 2 * (1 - mpmath.cos((2 * k + 1) * mpmath.pi / (2 * n))) for k in range(n)]


def fit():
    nodes = chebyshev_nodes(DEGREE + 1)
    matrix = mpmath.matrix([[t ** j for j in range(DEGREE + 1)] for t in nodes])
    values = mpmath.matrix([q_exact(t) for t in nodes])
    return list(mpmath.lu_solve(matrix, values))


def evaluate_as_double(coefficients, r):
    t = r * r
    q = coefficients[-1]
    for c in reversed(coefficients[:-1]):
        q = q * t + c
    return r * (1.0 + t * q)


def main():
    coefficients = [float(c) for c in fit()]
    worst = 0.0
    steps = 200000
    for i in range(1, steps + 1):
        r = float(mpmath.pi / 2) * i / steps
        exact = mpmath.sin(mpmath.mpf(r))
        error = abs((mpmath.mpf(evaluate_as_double(coefficients, r)) - exact) / exact)
        worst = max(worst, float(error))
    for c in coefficients:
        print(f"    {c!r},")
    print(f"// largest relative error on (0, pi/2]: {worst:.3e}")


if __name__ == "__main__":
    main()
