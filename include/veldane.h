/* veldane: a single-precision chemometrics engine.
 *
 * Plain functions over plain arrays, for C11 and C++17. Rows are samples, columns are variables.
 *
 *   init_callback(buffer, callback);              once, may be left out
 *   PCA_Init();                                   a family's model object
 *   PCA_BuildModel(&x, 5, 1, 200, 0, 0);          compute
 *   PCA_GetScores(&scores);                       fetch, array by array
 *   PCA_Terminate();                              release
 *
 * What holds for every function
 *
 * Results     Functions return 0 for success and a negative number otherwise, unless they say more.
 *             A failure is told through the callback as a message with progress -1.
 * Missing     A missing value is a NaN; the library itself writes the quiet NaN 0x7FC00000. What a
 *             function makes of one stands at its declaration. Where it says nothing, a NaN spreads
 *             by plain arithmetic; which NaN (sign, payload) then comes out is not promised.
 * Arithmetic  All values are float; a sum adds its terms one by one in index order and rounds to
 *             float after each, so results are the same bits on every x86-64 machine.
 * Threads     One thread at a time may call the library. The exception is halt_computation, which
 *             any thread, a signal handler and another process may call at any moment.
 * Exceptions  Memory that cannot be had is thrown as the int 999, which leaves the library
 *             unchanged through its functions (and through C callers with unwind tables). An array
 *             of more than 2147483647 elements counts as memory that cannot be had. Afterwards a
 *             family works again from its _Init on.
 */
#ifndef VELDANE_H
#define VELDANE_H

#include <stdint.h>

#ifdef __cplusplus
#define VELDANE_API extern "C" __attribute__((visibility("default")))
#else
#define VELDANE_API extern __attribute__((visibility("default")))
#endif

#define VELDANE_VERSION_MAJOR 0
#define VELDANE_VERSION_MINOR 1
#define VELDANE_VERSION_PATCH 0

/* ---- Arrays ------------------------------------------------------------------------------- */

/** Kind of an output whose elements the library hands out from its own memory. */
#define VELDANE_KIND_LIBRARY 2000

/**
 * An array on its way in or out: a vector, a matrix or a cube of float.
 *
 * Element (i, j) of a matrix is data[i * cols + j]; element (i, j, k) of a cube is
 * data[(i * cols + j) * pages + k].
 *
 * In: kind is not read, the elements are never copied and never changed unless the function works
 * in place. A matrix or vector has pages = 1; with other pages it counts as empty. A null
 * descriptor, a null data with non-zero extents and a negative extent count as empty as well.
 *
 * Out, kind VELDANE_KIND_LIBRARY: the library writes cols, rows, pages and data. The memory is the
 * library's: an array that a model keeps lives until the model computes it again or until the
 * family's next _Init or _Terminate; any other array is valid until the thread's next call.
 * Out, any other kind: the elements are copied to data, which must have room for them all; the
 * extents are not written and not read. A null descriptor or a null data skips that output.
 */
typedef struct ArrayDesc {
    int32_t kind;
    int32_t cols;
    int32_t rows;
    int32_t pages;
    float* data;
} ArrayDesc;

/* ---- Progress and cancelling -------------------------------------------------------------- */

/** Bytes that a message buffer needs: the longest message and its final zero. */
#define VELDANE_MESSAGE_SIZE 256

/**
 * Receives progress on the computing thread, which waits for it.
 *
 * progress  0 to 1: share of the current phase, a new phase starts again from 0. -1: message is an
 *           error or an end message. NaN where a phase has one step only. Never above 1.
 * message   the buffer given to init_callback.
 */
typedef void (*veldane_progress_callback)(float progress, char* message);

/**
 * Registers where messages and progress go, and seeds the random numbers of the calling thread
 * with the current time in whole seconds. Without this call nothing is reported and the random
 * numbers are the same in every run.
 *
 * buffer    at least VELDANE_MESSAGE_SIZE bytes, kept and written until replaced; with null the
 *           callback gets a null message.
 * callback  null switches reporting off.
 */
VELDANE_API void init_callback(char* buffer, veldane_progress_callback callback);

/**
 * Asks the library in a process to cancel what it computes, or what it computes next. The
 * computation ends at its next poll; what it leaves stands at each function. The end of any
 * long computation clears the request.
 *
 * Each process that has loaded the library owns an event "HaltMorla<process id>", a page of shared
 * memory that only the same user can reach. Where shared memory is not to be had, computations run
 * but cannot be cancelled.
 *
 * processId  0 or the own id: this process; then the call is one atomic store, fit for a signal
 *            handler. Otherwise a process of the same user.
 * Returns 0, or -1 if there is no such event.
 */
VELDANE_API int halt_computation(int processId);

/* ---- Matrix operations -------------------------------------------------------------------- */
/*
 * m x n is rows x cols. Inputs and outputs are matrices unless said otherwise; the output may share
 * its buffer with an input. An output of 0 x 0 says that the shapes do not fit or that there is no
 * solution: under VELDANE_KIND_LIBRARY its extents are 0 and its data null, otherwise nothing is
 * written. Shapes are tested on the extents of the descriptors.
 */

/**
 * Element by element product with broadcast, out m x n from a m x n. In spite of its name it is no
 * Kronecker product. b is m x n, or m x 1 (row i is multiplied by b[i]), or 1 x n (column j is
 * multiplied by b[j]), tried in this order. -1 for any other shape and for an empty a; nothing is
 * written then.
 */
VELDANE_API int MAT_Kronecker(const ArrayDesc* a, const ArrayDesc* b, ArrayDesc* out);

/**
 * a + b with broadcast, out m x n from a m x n. b is m x n, or 1 x n (added to each row), or m x 1
 * (b[i] added to row i), tried in this order. -1 where an extent of b that is not 1 differs from
 * a's, and where b is a row or a column that does not fit.
 */
VELDANE_API int MAT_Add(const ArrayDesc* a, const ArrayDesc* b, ArrayDesc* out);

/** a - b, as MAT_Add. A NaN in a gives the library's NaN. */
VELDANE_API int MAT_Subtract(const ArrayDesc* a, const ArrayDesc* b, ArrayDesc* out);

/** x' x, out n x n from x m x n. */
VELDANE_API int MAT_XtX(const ArrayDesc* x, ArrayDesc* out);

/** a b, out m x n from a m x k and b k x n. -1 unless cols(a) = rows(b). */
VELDANE_API int MAT_Multiply(const ArrayDesc* a, const ArrayDesc* b, ArrayDesc* out);

/**
 * Inverse of a square x by Householder QR, out n x n. A matrix with a zero on the diagonal of R
 * (compared exactly; a nearly singular matrix is inverted) gives a 0 x 0 out and the result 0.
 * A matrix that is not square gives the same.
 */
VELDANE_API int MAT_Inverse(const ArrayDesc* x, ArrayDesc* out);

/**
 * Householder QR of x m x n: q m x n with orthonormal columns, r n x n upper triangular, x = q r.
 * The diagonal of r has the opposite sign of x's leading elements. -1 if m < n.
 * Golub and Van Loan, Matrix Computations, 5.2.
 */
VELDANE_API int MAT_QR(const ArrayDesc* x, ArrayDesc* q, ArrayDesc* r);

/**
 * Element by element quotient a / b, out m x n; a division by zero gives what floats give. -1 if
 * both extents differ; if just one differs, a 0 x 0 out and the result 0.
 */
VELDANE_API int MAT_DotDivide(const ArrayDesc* a, const ArrayDesc* b, ArrayDesc* out);

/* ---- Principal component analysis --------------------------------------------------------- */
/*
 * n samples, m variables, A components. There is one PCA model in a process. Every function but
 * PCA_Init and PCA_Terminate returns -1 without a model. The model keeps the caller's X and weights
 * without copying them: keep those buffers alive and unchanged until the next PCA_Init or
 * PCA_Terminate.
 */

/** Algorithms of PCA_BuildModel. */
#define VELDANE_PCA_NIPALS 0
#define VELDANE_PCA_MISSING_NIPALS 3

/** Makes a fresh model; all results of an earlier one are lost. Returns 0. */
VELDANE_API int PCA_Init(void);

/** Deletes the model and its results. */
VELDANE_API void PCA_Terminate(void);

/**
 * Sets the variable weights, 1 x m, for all later builds of this model; X is multiplied by them
 * column by column before it is centred. A build without weights sets them to ones. An empty array
 * takes the weights away. Weights of another shape than 1 x m make the build return -1.
 */
VELDANE_API int PCA_SetWeights(const ArrayDesc* weights);

/**
 * Computes A principal components of X, n x m.
 *
 * numPC          A, from 1 to min(n, m). It is not checked: below 1 gives a model without
 *                components; components beyond the rank of the data hold rounding noise or NaN.
 * centre         non-zero: the column means are subtracted.
 * maxIterations  limit of the iterations for one component. VELDANE_PCA_NIPALS makes
 *                maxIterations - 1 of them; when it reaches the limit it reports "Failed to
 *                converge for pc %d" and goes on. With 1 or less it iterates not at all.
 * algorithm      VELDANE_PCA_NIPALS: complete data. A NaN spreads over the whole model. A component
 *                starts from the row sums and ends when the score of the first sample stands still.
 *                VELDANE_PCA_MISSING_NIPALS: leaves a NaN out of every sum. A component starts from
 *                the column with the largest sum of squares and ends when all scores stand still.
 *                On a column without any value its loading is NaN, and so is the model.
 *                Any other number is not available: -1 with a message, and the model stays as it
 * is. rotation       above 0 is not available: as for the algorithm.
 *
 * Returns 0; -1 without a model and for a null X (no message); with "Insufficient data for
 * analysis" -1 (VELDANE_PCA_MISSING_NIPALS: -2) for n < 2, m < 2 or an empty X. Scores and loadings
 * of an earlier build stay when a build is refused.
 *
 * Cancelled: the component in work is finished and kept, "Computation cancelled. Results are
 * incomplete." is reported. VELDANE_PCA_NIPALS returns 0 and fills the scores and loadings that are
 * left with 1; VELDANE_PCA_MISSING_NIPALS returns -1 and fills them with 0.
 *
 * H. Wold, Estimation of principal components and related models by iterative least squares, in
 * P. R. Krishnaiah (ed.), Multivariate Analysis (1966); for missing values P. Geladi and
 * B. R. Kowalski, Anal. Chim. Acta 185 (1986) 1-17.
 */
VELDANE_API int PCA_BuildModel(const ArrayDesc* X, int numPC, int centre, int maxIterations,
                               int algorithm, int rotation);

/** Scores T, n x A. */
VELDANE_API int PCA_GetScores(ArrayDesc* out);

/** Loadings P', A x m: one component a row, each of unit length. */
VELDANE_API int PCA_GetLoadings(ArrayDesc* out);

#endif /* VELDANE_H */
