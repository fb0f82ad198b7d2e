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
 * Inverse of x. A square x, n x n, is inverted by Householder QR; one with a zero on the diagonal
 * of R (compared exactly; a nearly singular matrix is inverted) gives a 0 x 0 out and the result 0.
 * Of an x m x n the pseudo-inverse, n x m, by SVD: no singular value is dropped, and a zero one has
 * the reciprocal 2^23 (8388608).
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

/**
 * Singular value decomposition x = u diag(s) v', x m x n, k = min(m, n): u m x k, s a vector of k
 * values, falling, v n x k. Reports "Computing SVD" and can be cancelled: -1, and nothing is
 * written. Reports "Failed to converge in SVD" after 1000 iterations without progress, as for an x
 * with NaN or infinities, and hands out what it has. Golub and Reinsch, Numer. Math. 14 (1970)
 * 403-420.
 */
VELDANE_API int MAT_SVD(const ArrayDesc* x, ArrayDesc* u, ArrayDesc* s, ArrayDesc* v);

/**
 * Right division a b+ with the pseudo-inverse of b as in MAT_Inverse, out m x p from a m x n and
 * b p x n. -1 unless cols(a) = cols(b).
 */
VELDANE_API int MAT_Divide(const ArrayDesc* a, const ArrayDesc* b, ArrayDesc* out);

/* ---- Utilities ---------------------------------------------------------------------------- */
/*
 * Functions around the models, without a state but that of the random numbers. Mostly a null
 * descriptor is refused: void functions do nothing then, the others return -1. What does not fit
 * otherwise gives a 0 x 0 out, as in the matrix operations.
 *
 * inout  an array that is replaced by the result: in the caller's own buffer, or with
 *        VELDANE_KIND_LIBRARY by memory of the library, which the record then points to.
 */

/** Methods of createsegment. */
#define VELDANE_SEGMENTS_ALL 1
#define VELDANE_SEGMENTS_RANDOM 2
#define VELDANE_SEGMENTS_CONSECUTIVE 3
#define VELDANE_SEGMENTS_INTERLEAVED 4

/**
 * Segments for cross-validation: object numbers from 1 on, one segment a row, 0 in the places of a
 * short last row that are left.
 *
 * method        VELDANE_SEGMENTS_ALL: out 1 x objectCount, 1, 2, 3, ...; the sizes are not read.
 *               VELDANE_SEGMENTS_CONSECUTIVE: row by row. VELDANE_SEGMENTS_INTERLEAVED: column by
 *               column. VELDANE_SEGMENTS_RANDOM: a random permutation row by row, from the random
 *               numbers of the calling thread (see init_callback), which go on also when nothing
 *               comes of it. A draw has 15 bits: among more than 32768 objects the permutation is
 *               not uniform. Any other: 0 x 0.
 * segmentSize   columns of out. Below 1 or above objectCount: 0 x 0.
 * segmentCount  that many segments must be possible, or out is 0 x 0; it does not limit them. There
 *               are as many full segments as there are objects for, and one for those left over.
 */
VELDANE_API void createsegment(int method, int segmentSize, int segmentCount, int objectCount,
                               ArrayDesc* out);

/**
 * Residual variances to explained percentages, inout samples x components from 0 on: each row
 * becomes (1 - r / base) 100 with the base in its column 0. NaN where r or the base is 0, so column
 * 0 becomes 0 or NaN; 0 where r / base is negative; below 0 where r is above the base.
 */
VELDANE_API void restoexplsam(ArrayDesc* inout);

/** The same for inout components from 0 on x variables, with the base in row 0 of each column. */
VELDANE_API void restoexplvar(ArrayDesc* inout);

/**
 * Critical values of Hotelling's T² for new samples, out 6 x componentCount: rows are the levels
 * 0.001, 0.005, 0.01, 0.05, 0.1 and 0.25, column j is for a = j + 1 components of a model of n =
 * objectCount samples: (n² - 1) a / ((n - a) n) F(a, n - a). There is none with a >= n: the number
 * then means nothing, and each element writes an error line to standard output. With more than
 * about 15000 samples single limits can be far off, as told at STAT_FDist.
 * J. E. Jackson, A User's Guide to Principal Components (1991).
 */
VELDANE_API void calculateHotellingT2Limits(int objectCount, int componentCount, ArrayDesc* out);

/**
 * Variable weights, out 1 x m, from data n x m. s is the standard deviation of a column as in
 * stddev.
 *
 * parameters  m x 2, columns A and B; out is 0 x 0 with fewer rows or columns.
 * types       m numbers. 0: A. 1: A / (s + B), and 1 where s + B is 0. 2: a weight so small that
 *             the variable is carried along without a say, the same for all of type 2: the smaller
 *             of 1e-10 times the smallest s and 1e-10 / the largest s of the other variables (about
 *             1.8e9 if there are none). Any other: s.
 */
VELDANE_API void computeweight(const ArrayDesc* data, const ArrayDesc* parameters, const int* types,
                               ArrayDesc* out);

/** Each row of inout, n x m, times weights, 1 x m. Weights of another shape: a 0 x 0 inout with
 * VELDANE_KIND_LIBRARY, otherwise the buffer stays as it is. */
VELDANE_API void computeweighted(ArrayDesc* inout, const ArrayDesc* weights);

/**
 * Standard deviations of data, n x m, divisor count - 1, by Welford's recurrence (Technometrics 4
 * (1962) 419-420). Missing values are left out. axis 0: of the columns, out 1 x m, NaN for fewer
 * than two values. axis 1: of the rows, out n x 1, NaN for one value and -0 for none. Any other:
 * 0 x 0. -1 for a null data; a null out is skipped.
 */
VELDANE_API int stddev(const ArrayDesc* data, int axis, ArrayDesc* out);

/**
 * How two columns agree, pairs n x 2 with x and y, out a vector of 6: slope and offset of y on x;
 * their correlation; the root mean square of D = x - y; the root of the sum of (-D - |mean D|)² /
 * (n - 1), which is the standard error where mean D is not above 0; |mean D|. Missing values are
 * left out of every sum and count in n; only the correlation takes the complete rows alone. -1
 * unless pairs has two columns.
 */
VELDANE_API int statistics(const ArrayDesc* pairs, ArrayDesc* out);

/**
 * How predictions agree with the reference, before and after a linear correction.
 *
 * predicted  n x m x k: objects, responses, one page a component.
 * reference  n x m.
 * unused     not read, but not null.
 * out        9 x m x componentCount; 0 x 0 x 0 where predicted and reference do not fit or k is
 *            below componentCount. With p and r a column of predicted and reference, rows are: 0
 *            root mean square error and 6 standard error of p' = slope p + offset, by rows 7 and 8;
 *            1 standard error of p; 2 bias, the mean of p - r; 3 and 4 slope and offset of p on r;
 *            5 correlation; 7 and 8 slope and offset of r on p. A standard error is the root of the
 *            sum of ((r - p) - |bias|)² / (n - 1), with |bias| also where the bias is above 0.
 *            Missing values are left out of the sums and count in n.
 *
 * -1 also for a componentCount below 1.
 */
VELDANE_API int computeexvalidation(const ArrayDesc* predicted, const ArrayDesc* reference,
                                    const ArrayDesc* unused, ArrayDesc* out, int componentCount);

/**
 * Explained variance of each variable of data, n x m: 1 - sum of (data - fit)² / sum of squares
 * around the column mean. Missing values are left out of each of the sums.
 *
 * componentCount above 0: out m x componentCount, one fit a page of fittedCube, n x m x k; the
 * other two are not read. 0: out m x 2 from fitted1 and fitted2, n x m; fittedCube is not read. -1
 * below 0 and if what is read is null. The column of a fit that is of another shape or missing is
 * -1.
 */
VELDANE_API int compute_r2(const ArrayDesc* data, const ArrayDesc* fitted1,
                           const ArrayDesc* fitted2, const ArrayDesc* fittedCube, ArrayDesc* out,
                           int componentCount);

/** inout, n x m, less its column means and row means, plus the mean of all. Computed in double; the
 * sum of all adds up those of the rows. One NaN makes all of it NaN. */
VELDANE_API int doublecenter(ArrayDesc* inout);

/** out 1 x length: 4, 8, 11, 14, 2, then zeros; a length below 5 cuts it off. data is not read. */
VELDANE_API int StandardSelect(const ArrayDesc* data, int length, ArrayDesc* out);

/**
 * Full factorial design, out with a column for each factor and the level numbers from 1 on, one run
 * a row; the first factor is the fastest. Returns 0.
 *
 * levels      factorCount numbers of levels; 0 stands for the number of the factor before it.
 * replicates  how often the whole design is repeated, one below the other; below 1 as 1.
 *
 * 0 x 0 with no or a negative factorCount, null levels, a negative number of levels, and if the
 * first is 0.
 */
VELDANE_API int fullfrac(int factorCount, const int* levels, int replicates, ArrayDesc* out);

/* ---- Principal component analysis --------------------------------------------------------- */
/*
 * n samples, m variables, A components. There is one PCA model in a process. Every function but
 * PCA_Init and PCA_Terminate returns -1 without a model. The model keeps the caller's X and weights
 * without copying them: keep those buffers alive and unchanged until the next PCA_Init or
 * PCA_Terminate.
 */

/** Algorithms of PCA_BuildModel. */
#define VELDANE_PCA_NIPALS 0
#define VELDANE_PCA_SVD 1
#define VELDANE_PCA_LAPACK_SVD 2
#define VELDANE_PCA_MISSING_NIPALS 3

/** Rotations of PCA_BuildModel. */
#define VELDANE_ROTATION_VARIMAX 1
#define VELDANE_ROTATION_QUARTIMAX 2
#define VELDANE_ROTATION_EQUAMAX 3
#define VELDANE_ROTATION_PARSIMAX 4

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
 * numPC          A, from 1 to min(n, m). Below 1 gives a model without components. More than
 *                min(n, m) is refused by the SVD algorithms; NIPALS goes on, and components beyond
 *                the rank of the data hold rounding noise or NaN.
 * centre         non-zero: the column means are subtracted.
 * maxIterations  limit of the iterations for one component, not read by the SVD algorithms.
 *                VELDANE_PCA_NIPALS makes maxIterations - 1 of them; when it reaches the limit it
 *                reports "Failed to converge for pc %d" and goes on. With 1 or less it iterates not
 *                at all.
 * algorithm      VELDANE_PCA_NIPALS: complete data. A NaN spreads over the whole model. A component
 *                starts from the row sums and ends when the score of the first sample stands still.
 *                VELDANE_PCA_MISSING_NIPALS: leaves a NaN out of every sum. A component starts from
 *                the column with the largest sum of squares and ends when all scores stand still.
 *                For a row or column without any value the score or loading is 0 or NaN, as its
 *                sums cancel; a NaN then spreads.
 *                VELDANE_PCA_LAPACK_SVD: eigenvectors of the smaller of X'X and XX' by sgesvd of
 *                the LAPACK library, which is looked up when it is asked for.
 *                VELDANE_PCA_SVD and any other number: the same by the library's own SVD. Signs
 *                are as they come. A NaN spreads over the whole model.
 * rotation       1 to 4: an orthomax rotation of the loadings follows; each variable's loadings
 *                have unit length meanwhile (Kaiser's normalisation), so a variable with zero
 *                loadings becomes NaN. The scores are brought along: T P' stays as it is. With
 *                gamma the orthomax parameter: 1 varimax (1), 2 quartimax (0), 3 equamax (A / 2),
 *                4 parsimax (m (A - 1) / (m + A - 2)). It ends when it stands still or after 301
 *                rounds. A number above 4 leaves scores and loadings; 0 or less does nothing.
 *
 * Returns 0; -1 without a model and for a null X (no message). With a message: -1 for weights that
 * are not 1 x m; with "Insufficient data for analysis" -1 (VELDANE_PCA_MISSING_NIPALS: -2) for
 * n < 2, m < 2 or an empty X, where the SVD algorithms go on until a rotation; -1 with "Missing
 * LAPACK library. Check installation." or "Failed in call to LAPACK library. Check version.".
 * Scores and loadings of an earlier build stay when a build is refused.
 *
 * Cancelled: the component in work is finished and kept, "Computation cancelled. Results are
 * incomplete." is reported. VELDANE_PCA_NIPALS returns 0 and fills the scores and loadings that are
 * left with 1; VELDANE_PCA_MISSING_NIPALS returns -1 and fills them with 0. VELDANE_PCA_SVD returns
 * -1 at once and leaves the model as it was. VELDANE_PCA_LAPACK_SVD cannot be cancelled.
 *
 * H. Wold, Estimation of principal components and related models by iterative least squares, in
 * P. R. Krishnaiah (ed.), Multivariate Analysis (1966); for missing values P. Geladi and
 * B. R. Kowalski, Anal. Chim. Acta 185 (1986) 1-17; rotation: H. F. Kaiser, Psychometrika 23 (1958)
 * 187-200, C. B. Crawford and G. A. Ferguson, Psychometrika 35 (1970) 321-332.
 */
VELDANE_API int PCA_BuildModel(const ArrayDesc* X, int numPC, int centre, int maxIterations,
                               int algorithm, int rotation);

/** Scores T, n x A. */
VELDANE_API int PCA_GetScores(ArrayDesc* out);

/** Loadings P', A x m: one component a row, each of unit length. */
VELDANE_API int PCA_GetLoadings(ArrayDesc* out);

/** Column means of the weighted X, 1 x m; with missing values VELDANE_PCA_NIPALS and the SVD
 * algorithms divide the sum of what is there by n. */
VELDANE_API int PCA_GetMean(ArrayDesc* out);

/** Rotation matrix, A x A: the loadings before the rotation times it are those after. Zeros for a
 * rotation number above 4, empty if no build of this model rotated. */
VELDANE_API int PCA_GetRotationMatrix(ArrayDesc* out);

/*
 * What follows is computed at each call. Without a build the arrays are empty. Results of weighted
 * data are on the scale of the weighted X.
 */

/** The fit T P' with all A components, n x m; the means are added if the build centred. */
VELDANE_API int PCA_GetReconstructedX(ArrayDesc* out);

/**
 * Mean squares of what is left of X by the first 1 to A components: outSample n x A, the sum of
 * squares along a row divided by m; outVariable A x m, that down a column divided by n. A missing
 * value is left out of the sum and counts in the divisor. Computes the array of
 * PCA_GetReconstructedX again.
 */
VELDANE_API int PCA_GetResiduals(ArrayDesc* outSample, ArrayDesc* outVariable);

/**
 * Leverages with 1 to A components: outSample n x A, 1/n + sum of t² / t't, at most 0.99; a
 * component without any score adds 0. outVariable A x m, sum of p² / p'p with the length of the
 * first component's loading for all.
 */
VELDANE_API int PCA_GetLeverages(ArrayDesc* outSample, ArrayDesc* outVariable);

/**
 * Hotelling's T² of the samples with 1 to A components, n x A: sum of t² / s² with the variance
 * s² = latent / (n - 1) of each component's scores. Where that is 0 or NaN, 8388608 (2^23) stands
 * for 1 / s. H. Hotelling, Ann. Math. Statist. 2 (1931) 360-378.
 */
VELDANE_API int PCA_GetHotellingTSquare(ArrayDesc* out);

/** Correlations of scores and variables, A x m, of X as given, without weights. Rows with a missing
 * value are left out; NaN for a variable that does not vary. */
VELDANE_API int PCA_GetCorrelationLoadings(ArrayDesc* out);

/** Variances of the components, 1 x A: latent / (n - 1). Latent is t'Xp with X as weighted, not
 * centred, for VELDANE_PCA_NIPALS, an eigenvalue for the SVD algorithms, and t't for
 * VELDANE_PCA_MISSING_NIPALS and after a rotation. */
VELDANE_API int PCA_GetLatent(ArrayDesc* out);

/**
 * Limits at 5 % (normal deviate 1.65) of Q, the sum of squares of a sample's residuals, with 0 to A
 * components in the model, 1 x (A + 1). They rest on the eigenvalues behind the last component,
 * which the SVD algorithms know; with the others those of the A components stand for all, and the
 * last limit is 0. NaN where the eigenvalues behind are all 0. The approximation's exponent h0 is
 * negative where one of them outweighs the others; the limit is then too low and may lie below the
 * mean of Q. PCA_GetResiduals gives Q / m.
 * J. E. Jackson and G. S. Mudholkar, Technometrics 21 (1979) 341-349.
 */
VELDANE_API int PCA_GetQResLim(ArrayDesc* out);

/**
 * For each component, 6 x A: t't, p'p, p'p once more, NaN (the Y loadings, which PCA has not),
 * smallest and largest score. Missing values are left out of the scores' rows. -1 also for a null
 * out.
 */
VELDANE_API int PCA_GetSquSum(ArrayDesc* out);

/**
 * Scores and Hotelling's T² of new samples, from the arrays of a model that were fetched before.
 * The model of the library is not used but must exist. -1 also if one of the first four is null.
 *
 * Xnew       k x m, weighted as the model's X was. A missing value is left out of the score.
 * means      1 x m, taken off Xnew if centre is above 0.
 * T, Pt      scores n x A and loadings A x m of the model.
 * outScores  k x numPC; empty if Xnew, means and Pt do not fit or numPC is not within 1 to A.
 * outT2      k x numPC: sum of t² (n - 1) / t't with the model's scores below the line. Empty where
 *            outScores is, if T and Pt do not fit and if numPC is above m.
 */
VELDANE_API int PCA_Project(const ArrayDesc* Xnew, const ArrayDesc* means, const ArrayDesc* T,
                            const ArrayDesc* Pt, ArrayDesc* outScores, ArrayDesc* outT2, int centre,
                            int numPC);

/* ---- Partial least squares ---------------------------------------------------------------- */
/*
 * Regression of Y on X with n samples, p X-variables, m Y-variables and A factors. There is one
 * PLS model in a process. Every function but PLS_Init and PLS_Terminate returns -1 without a model,
 * every getter also for a null out. The model keeps the caller's X, Y and weights without copying
 * them: keep those buffers alive and unchanged until the next PLS_Init or PLS_Terminate.
 */

/** Algorithms of PLS_BuildModel. */
#define VELDANE_PLS_COVARIANCE_KERNEL 0
#define VELDANE_PLS_SAMPLE_KERNEL 1
#define VELDANE_PLS_NIPALS 2
#define VELDANE_PLS_MISSING_NIPALS 3

/** Makes a fresh model; all results of an earlier one are lost. Returns 0. */
VELDANE_API int PLS_Init(void);

/** Deletes the model and its results. */
VELDANE_API void PLS_Terminate(void);

/**
 * Set the weights of the X-variables, 1 x p, and of the Y-variables, 1 x m, for all later builds of
 * this model; X and Y are multiplied by them column by column before they are centred. A build
 * without weights sets them to ones, which then stay: before a build with another number of
 * variables take them away with an empty array.
 */
VELDANE_API int PLS_SetXWeights(const ArrayDesc* weights);
VELDANE_API int PLS_SetYWeights(const ArrayDesc* weights);

/**
 * Computes A factors of X, n x p, and Y, n x m.
 *
 * centre      above 0: the column means are subtracted and the coefficients get intercepts.
 *             Otherwise neither.
 * numFactors  A, from 1 to min(n, p).
 * algorithm   VELDANE_PLS_COVARIANCE_KERNEL: complete data; deflates X'Y alone and is the fastest.
 *             Signs of factors of several responses are as the eigenvectors come.
 *             VELDANE_PLS_SAMPLE_KERNEL: complete data, for p much larger than n; works on XX' and
 *             YY'. Each factor takes at most 500 power iterations and ends when no bit changes;
 *             one that does not is reported with "Convergence failure - factor %d " and used as it
 *             is. That is common and harmless: its last bits go round in a cycle.
 *             VELDANE_PLS_NIPALS: complete data; with several responses at most 200 rounds for each
 *             factor, then "Convergence failure while computing factor %d" is reported and the
 *             factor used as it is.
 *             VELDANE_PLS_MISSING_NIPALS: leaves a NaN in X or Y out of every sum, at most 100
 *             rounds for each factor. For a sample or a variable without any value the quotients
 *             are 0 or NaN, as its sums cancel; a NaN then spreads.
 *
 * The first three spread a NaN over the model, also where X'Y is 0 for a single response. Factors
 * beyond the rank of the data hold rounding noise or NaN.
 *
 * Returns 0; -1 without a model, for a null X or Y and for another algorithm (no message). With a
 * message -1 for an empty array, for X and Y of different n, for A out of its range and for weights
 * that do not fit; VELDANE_PLS_MISSING_NIPALS with "Insufficient data for analysis" for n or p
 * below 2. The results of an earlier build stay then.
 *
 * Cancelled: "Computation cancelled. Results are incomplete." is reported, at the end the empty
 * message with progress 0; -1. VELDANE_PLS_NIPALS leaves that text out at the start of a factor;
 * elsewhere the factor in work is finished. What belongs to factors that were not reached is 0,
 * with the mean of Y for the intercept.
 *
 * B. S. Dayal and J. F. MacGregor, J. Chemometrics 11 (1997) 73-85; S. Raennar, F. Lindgren,
 * P. Geladi and S. Wold, J. Chemometrics 8 (1994) 111-125; P. Geladi and B. R. Kowalski, Anal.
 * Chim. Acta 185 (1986) 1-17; H. Martens and T. Naes, Multivariate Calibration (1989).
 */
VELDANE_API int PLS_BuildModel(const ArrayDesc* X, const ArrayDesc* Y, int centre, int numFactors,
                               int algorithm);

/*
 * What follows is empty before a build. It is on the scale of the weighted X and Y but for
 * PLS_GetBeta.
 */

/** X scores T, n x A, orthogonal to each other on complete data. */
VELDANE_API int PLS_GetXScores(ArrayDesc* out);

/**
 * Y scores U, n x A. With one response: VELDANE_PLS_COVARIANCE_KERNEL the centred Y less its share
 * in the earlier X scores, the others the Y that the earlier factors left, where
 * VELDANE_PLS_MISSING_NIPALS has 0 for a missing value. With several: Y q / q'q, of the first
 * algorithm orthogonal to the earlier X scores; VELDANE_PLS_SAMPLE_KERNEL scales it like the X
 * score.
 */
VELDANE_API int PLS_GetYScores(ArrayDesc* out);

/** X loadings P', A x p: one factor a row. */
VELDANE_API int PLS_GetXLoadings(ArrayDesc* out);

/** Y loadings Q, A x m: one factor a row. */
VELDANE_API int PLS_GetYLoadings(ArrayDesc* out);

/** Loading weights W', A x p: one factor a row, each of unit length. */
VELDANE_API int PLS_GetLoadingWeights(ArrayDesc* out);

/** Column means of the weighted X, 1 x p, and Y, 1 x m, also where the build did not centre. With
 * missing values all algorithms but VELDANE_PLS_MISSING_NIPALS divide the sum of what is there by
 * n. */
VELDANE_API int PLS_GetXMeans(ArrayDesc* out);
VELDANE_API int PLS_GetYMeans(ArrayDesc* out);

/**
 * Regression coefficients in the units of X and Y as given, (p + 1) x m x A: element [0][j][a] is
 * the intercept of response j with a + 1 factors and [i + 1][j][a] the slope of variable i.
 * Computed at each call, with the weights that the model has then; empty if weights that do not fit
 * were set since the build.
 */
VELDANE_API int PLS_GetBeta(ArrayDesc* out);

/** The same for the weighted X and Y, as the build left them. */
VELDANE_API int PLS_GetWBeta(ArrayDesc* out);

/** Rotation matrix R', A x p: the scores are the centred X times R. Empty where P'W is singular by
 * an exact zero; the slopes are 0 then, but for VELDANE_PLS_MISSING_NIPALS. */
VELDANE_API int PLS_GetRotationMatrix(ArrayDesc* out);

/** Fitted Y with 1 to A factors, n x m x A: (weighted X) times PLS_GetWBeta, on the scale of the
 * weighted Y. Computed at each call, as is all that follows. */
VELDANE_API int PLS_GetPrediction(ArrayDesc* out);

/**
 * Leverages with 1 to A factors: outSample n x A, 1/n + sum of t² / t't, at most 0.99; a factor
 * without any score adds 0. outVariable A x p, sum of w² / w'w of the loading weights, with the
 * length of the first factor's for all; null leaves it out.
 */
VELDANE_API int PLS_GetLeverages(ArrayDesc* outSample, ArrayDesc* outVariable);

/** Correlations of the X scores with the variables of the weighted X, outX A x p, and of the
 * weighted Y, outY A x m. Rows with a missing value are left out; NaN for a variable that does not
 * vary. */
VELDANE_API int PLS_GetCorrelationLoadings(ArrayDesc* outX, ArrayDesc* outY);

/** Hotelling's T² of the samples with 1 to A factors, n x A: sum of t² (n - 1) / t't. NaN from a
 * factor without any score on. */
VELDANE_API int PLS_GetHotellingTSquare(ArrayDesc* out);

/**
 * Limits at 5 % (normal deviate 1.65) of the sum of squares of a sample's X residuals, 1 x A:
 * column a from the variances t't / (n - 1) of factor a + 1 and those behind it, which stand for
 * all that is left. Jackson and Mudholkar as in PCA_GetQResLim.
 */
VELDANE_API int PLS_GetQResLim(ArrayDesc* out);

/** For each factor, 6 x A: t't, p'p, w'w, q'q, smallest and largest X score. Missing values are
 * left out of the scores' rows. */
VELDANE_API int PLS_GetSquSum(ArrayDesc* out);

/**
 * Scores and T² of new samples, from arrays of a model that were fetched before. Needs no model.
 *
 * X                 k x p, weighted as the model's X was. A missing value is left out of the score;
 *                   a sample without any value has NaN.
 * xMeans            1 x p, taken off X if centre is above 0.
 * unused1, unused2  not read.
 * rotation          A x p, of PLS_GetRotationMatrix.
 * outScores         k x numFactors; empty if X, xMeans and rotation do not fit.
 * outT2             k x numFactors: sum of t² (k - 1) / t't, with the variances of these k samples
 *                   and not of the model's.
 * Returns 0; -1 for a null X, rotation or output and for a numFactors outside 1 to A.
 */
VELDANE_API int PLS_Project(const ArrayDesc* X, const ArrayDesc* xMeans, const ArrayDesc* unused1,
                            const ArrayDesc* unused2, const ArrayDesc* rotation,
                            ArrayDesc* outScores, ArrayDesc* outT2, int centre, int numFactors);

/* ---- Validation --------------------------------------------------------------------------- */
/*
 * How many components a model should have, how well it predicts, and which samples and variables to
 * distrust. PCA_ and PLS_ work in the same way; what is told of Y is there for PLS_ only.
 *
 * n samples, p X-variables, m Y-variables, A components, S segments; "0 to A" has the model of the
 * means alone in front. A validation object belongs to the family and lives until the family's next
 * validation or _Terminate. It reads X and Y of the model, so validate before the buffers go. After
 * a new build its tables stay; what is computed on request then takes the new model if it has the
 * same shape.
 *
 * Every getter returns -1, and writes nothing, without a model, without a validation and for a null
 * descriptor; but the residuals and reconstructions of PCA_ leave a null output out. Where there
 * are two outputs the first is of the calibration, where the samples are in the model, and the
 * second of the validation. Tables are on the scale of the weighted X and Y but for predictions and
 * what is computed from them, which are in the units of Y as given, by the weights that the model
 * has then; empty if weights that do not fit were set since the build.
 *
 * With missing values in X validate a model of the missing-data algorithm. With the others every
 * segment model that holds a NaN is NaN throughout, and what it says is left out of the tables and
 * errors, which then speak of the few samples that are left.
 */

/** Modes of PCA_DoValidation and PLS_DoValidation. */
#define VELDANE_LEVERAGE_CORRECTION 0
#define VELDANE_CROSS_VALIDATION 1

/**
 * Validate the model that was built.
 *
 * mode           VELDANE_LEVERAGE_CORRECTION: each residual is divided by 1 - leverage of its
 *                sample, the leverage without components being 1/n. segments is not read.
 *                VELDANE_CROSS_VALIDATION: for each segment a model of the other samples is built,
 *                with the algorithm, weights and centring of the validated one but without a
 *                rotation, and the samples of the segment are projected onto it.
 *                2 needs a test set, see below: -1. Any other number does nothing and gives 0.
 * segments       S x c: a row of 1-based sample numbers for each segment, 0 in unused places, as
 *                from createsegment. A row of zeros leaves nothing out.
 * uncertainty    1: with cross-validation, the jack-knife test of all parameters.
 * uncertaintyPC  components of that test, 1 to A; -1: the suggested number, or 1, with a message,
 *                if that is 0.
 *
 * Returns 0; -1 without a model (PCA_DoValidation: -2); with a message -1 for a model that was not
 * built or whose last build was refused with other settings, for no segments, for an entry that is
 * not a whole number from 0 to n and for an uncertaintyPC that is not in the model. A cancel, and a
 * segment whose model cannot be built, as with too few samples left, end with "Validation
 * cancelled." and -1: what was computed stays, and tables have zeros for segments that were not
 * reached.
 */
VELDANE_API int PCA_DoValidation(int mode, const ArrayDesc* segments, int uncertainty,
                                 int uncertaintyPC);
VELDANE_API int PLS_DoValidation(int mode, const ArrayDesc* segments, int uncertainty,
                                 int uncertaintyFactors);

/**
 * Validate with a test set, k x p and k x m, in the units of the model's X and Y. -1 without a
 * model and, with a message, for sets that do not fit; when cancelled as above. The validation
 * tables of samples then have k rows.
 */
VELDANE_API int PCA_DoTestValidation(const ArrayDesc* testX);
VELDANE_API int PLS_DoTestValidation(const ArrayDesc* testX, const ArrayDesc* testY);

/**
 * Mean squares of the X residuals with 0 to A components: of samples n x (A + 1), of variables
 * (A + 1) x p, total (A + 1) x 2 with calibration and validation in its columns.
 *
 * Calibration: squares along a row divided by p, down a column divided by n, missing values
 * counting in the divisor. Validation: each component uses up one degree of freedom: a sample with
 * c values has the divisor c - a, NaN if that is not above 0; a variable with c values (p - a) c /
 * p, NaN if that is 0. After a cross-validation the table of variables, and with it the total, is
 * divided by S besides. The total is the mean over the variables.
 */
VELDANE_API int PCA_GetSampleResiduals(ArrayDesc* outCal, ArrayDesc* outVal);
VELDANE_API int PCA_GetVariableResiduals(ArrayDesc* outCal, ArrayDesc* outVal);
VELDANE_API int PCA_GetTotalResiduals(ArrayDesc* out);
VELDANE_API int PLS_GetSampleResiduals(ArrayDesc* outCal, ArrayDesc* outVal);
VELDANE_API int PLS_GetVariableResiduals(ArrayDesc* outCal, ArrayDesc* outVal);

/**
 * The same of Y, n x (A + 1) and (A + 1) x m. Components are of X and use up nothing here: the
 * divisors of the validation are the numbers of values of the sample and of the response, so that
 * with unit weights the root of a variable's is its PLS_GetRMSE if each sample was left out once.
 */
VELDANE_API int PLS_GetYSampleResiduals(ArrayDesc* outCal, ArrayDesc* outVal);
VELDANE_API int PLS_GetYVariableResiduals(ArrayDesc* outCal, ArrayDesc* outVal);

/** Total residuals, each (A + 1) x 2: those of X in column 0, those of Y in column 1. */
VELDANE_API int PLS_GetTotalResiduals(ArrayDesc* outCal, ArrayDesc* outVal);

/**
 * X as reconstructed by the model with 1 to A components, n x p x A, on the scale of the weighted
 * X. PLS_GetReconstructed: outVal is that of each sample by the model that did not have it, NaN for
 * one in no segment; with leverage correction x - residual / (1 - leverage); of a test set its own
 * samples. The _GetTestReconstructed hand out that of the test set, k x p x A, and in outCal that
 * of the model's samples.
 */
VELDANE_API int PCA_GetReconstructed(ArrayDesc* out);
VELDANE_API int PCA_GetTestReconstructed(ArrayDesc* out);
VELDANE_API int PLS_GetReconstructed(ArrayDesc* outCal, ArrayDesc* outVal);
VELDANE_API int PLS_GetTestReconstructed(ArrayDesc* outCal, ArrayDesc* outVal);

/** Sums of squares of each sample in the array of PCA_GetReconstructed, n x A; a NaN is left out.
 * It is the fit that is squared here; for squared residuals see the residual tables. */
VELDANE_API int PCA_GetQResiduals(ArrayDesc* out);
VELDANE_API int PLS_GetQResiduals(ArrayDesc* out);

/**
 * The suggested number of components: the a from 0 to A with the least validation residual
 * r[a] + 0.01 a r[0], of Y for PLS_ and of X for PCA_; the smaller one of equals; NaN is passed
 * over. -1 without a validation.
 */
VELDANE_API int PCA_GetSuggestedPC(void);
VELDANE_API int PLS_GetSuggestedPC(void);

/**
 * Predicted Y with 1 to A factors, n x m x A. Calibration: the fit T Q' + means. Validation: of
 * each sample by the model that did not have it, NaN for one in no segment; of the test set k x m x
 * A; with leverage correction y - residual / (1 - leverage).
 */
VELDANE_API int PLS_GetYPredicted(ArrayDesc* outCal, ArrayDesc* outVal);

/** Root mean square error with 0 to A factors, (A + 1) x m: the divisor is the number of samples
 * with a value and a prediction. That of a cross-validation is from the run itself, also if weights
 * or Y were changed since, and empty if the run did not come to its end. */
VELDANE_API int PLS_GetRMSE(ArrayDesc* outCal, ArrayDesc* outVal);

/** Correlation of predicted and given Y with 0 to A factors, (A + 1) x m; row 0 is NaN. */
VELDANE_API int PLS_GetMultipleCorrelation(ArrayDesc* outCal, ArrayDesc* outVal);

/** Standard error of prediction with 0 to A factors, (A + 1) x m: the standard deviation of the
 * validation's prediction errors about their mean, the bias; the divisor is their number less 1. */
VELDANE_API int PLS_GetYPredictedStandardError(ArrayDesc* out);

/**
 * Internally studentised Y residuals of the calibration with 1 to A factors, n x m x A:
 * e / (s sqrt(1 - leverage)) with s² = e'e / (n - A - 1), or / (n - A) if the build did not centre,
 * n being the number of samples with a value and A the number of factors; NaN where that divisor is
 * not above 0.
 */
VELDANE_API int PLS_GetStudentizedResiduals(ArrayDesc* out);

/** The nine figures of computeexvalidation for predictions with 1 to A factors, 9 x m x A, of the
 * validation and of the calibration. */
VELDANE_API int PLS_GetExtraValidation(ArrayDesc* out);
VELDANE_API int PLS_GetExtraValidationCal(ArrayDesc* out);

/**
 * The uncertainty test, with C components and S segments; empty where it was not run or did not
 * come to its end. Each segment model is brought into the axes of the full model by the regression
 * of the full scores on its own, so that a component that only changes its sign does not vary.
 *
 * Parameters of the segment models: scores n x C x S, those of left-out samples as projected;
 * loadings and loading weights C x p x S (a PCA has its loadings for both), Y loadings C x m x S,
 * coefficients with C factors (p + 1) x m x S, on the weighted scale. For an uncertaintyPC of -1,
 * with which C is found later, all but the coefficients have A components.
 *
 * Variances: (n - 1) / n times the sum over the segments of squared distances from the full model,
 * with n samples whatever S: scores n x C, loadings and weights C x p, Y loadings C x m,
 * coefficients (p + 1) x m.
 *
 * Significances of the same shapes: the two-sided probability of t = value / sqrt(variance) by
 * Student's distribution with p + m - c degrees of freedom for component c, for coefficients
 * p + m - C. Not a number, or as the distribution has it, where the variance is 0; -2 where no
 * degree of freedom is left, as for the last component of a PCA with as many as variables.
 *
 * H. Martens and M. Martens, Food Quality and Preference 11 (2000) 5-16.
 */
VELDANE_API int PCA_GetJKScores(ArrayDesc* out);
VELDANE_API int PCA_GetJKLoadings(ArrayDesc* out);
VELDANE_API int PCA_GetJKLoadingWeights(ArrayDesc* out);
VELDANE_API int PCA_GetJKVarScores(ArrayDesc* out);
VELDANE_API int PCA_GetJKVarLoadings(ArrayDesc* out);
VELDANE_API int PCA_GetJKVarLoadingWts(ArrayDesc* out);
VELDANE_API int PCA_GetJKSigniLoadings(ArrayDesc* out);
VELDANE_API int PCA_GetJKSigniLoadingWts(ArrayDesc* out);
VELDANE_API int PLS_GetJKScores(ArrayDesc* out);
VELDANE_API int PLS_GetJKLoadings(ArrayDesc* out);
VELDANE_API int PLS_GetJKYLoadings(ArrayDesc* out);
VELDANE_API int PLS_GetJKLoadingWeights(ArrayDesc* out);
VELDANE_API int PLS_GetJKBetaCoefficients(ArrayDesc* out);
VELDANE_API int PLS_GetJKVarB(ArrayDesc* out);
VELDANE_API int PLS_GetJKVarScores(ArrayDesc* out);
VELDANE_API int PLS_GetJKVarLoadings(ArrayDesc* out);
VELDANE_API int PLS_GetJKVarYLoadings(ArrayDesc* out);
VELDANE_API int PLS_GetJKVarLoadingWts(ArrayDesc* out);
VELDANE_API int PLS_GetJKSigniLoadings(ArrayDesc* out);
VELDANE_API int PLS_GetJKSigniLoadingWts(ArrayDesc* out);
VELDANE_API int PLS_GetJKSigniYLoadings(ArrayDesc* out);
VELDANE_API int PLS_GetJackSigniB(ArrayDesc* out);

/**
 * Collects warnings: what lies beyond a threshold, strictly; a NaN never does. Each thing is warned
 * of once, at the smallest number of components a. thresholds is 14 x 1 or larger, column 0 is
 * read. -1 without a validation of the present model and for fewer rows.
 *
 * _NumWarnings returns their number, 0 before they are computed, -1 without a validation.
 * _GetWarnings hands out one row of six for each, in the order of the codes: code, a, the 1-based
 * sample or variable, the 1-based variable of a single element (NaN otherwise), the threshold, the
 * value. -1 stands in a place that does not apply.
 *
 *   code      above threshold row (below, for those marked <)
 *   100  0    leverage of a sample over the mean leverage
 *   102       a sample with 100 and with 121 or 123 at the same a
 *   121  7    root of a sample's calibration residual over the total; 123 of Y
 *   122  7    the same of a test sample and the validation's total; 124 of Y
 *   130  12   residual of an element over the root of its variable's; 140 of Y
 *   131  12   the same of a test sample and the validation's; 141 of Y
 *   150  9    root of a variable's calibration residual over the total; 160 of Y
 *   151  10   the same of the validation; 161 of Y
 *   152  5 <  percentage explained with 3 components, calibration; 162 of Y; not with a test set
 *   153  5 <  the same of the validation; 163 of Y; not with a test set
 *   170  4 <  total calibration residual over that of the validation; 171 of Y
 *   172  11   the inverse; 173 of Y; not with a test set
 *   180  1    percentage by which the validation's total rises with component a up to 3; 181 of Y
 */
VELDANE_API int PCA_ComputeWarnings(const ArrayDesc* thresholds);
VELDANE_API int PCA_NumWarnings(void);
VELDANE_API int PCA_GetWarnings(ArrayDesc* out);
VELDANE_API int PLS_ComputeWarnings(const ArrayDesc* thresholds);
VELDANE_API int PLS_NumWarnings(void);
VELDANE_API int PLS_GetWarnings(ArrayDesc* out);

/* ---- Preprocessing ------------------------------------------------------------------------ */
/*
 * Each function changes a table in place, n samples x m variables (channels): data is input and
 * output, whatever its kind; with VELDANE_KIND_LIBRARY the extents are written again and data
 * stays the caller's pointer. Rows are treated one by one. No state is kept, no working copy of
 * more than a few rows is made, and a request to cancel is not looked at.
 *
 * Returns 0, or a code, with nothing written or reported:
 *
 *   2  a null descriptor, and what the function calls an inconsistent argument
 *   3  derivative order outside 1 to 5
 *   4  negative gap
 *   5  odd order with an even gap
 *   6  bad segment or window size
 *
 * A missing value stays missing and is left out of sums, minima and maxima; infinities are numbers.
 * Divisors are double, and a result is rounded once, unless said otherwise. A table without
 * elements is transformed to itself.
 *
 * Each row i is reported with the progress i / n and an empty message, and the end with 1 and
 * "Completed normalization", "Completed baseline correction" or "Completed transformation" for the
 * three groups below. What reports otherwise says so.
 */

/** x / |mean of the row|, with no guard against a mean of 0. The closing message is empty. */
VELDANE_API int normalizemean(ArrayDesc* data);

/** x / largest |x| of the row; 0 in a row of zeros. A row with a missing first element becomes
 * missing. */
VELDANE_API int normalizemax(ArrayDesc* data);

/** x / (maximum - minimum of the row); 0 if they are equal. The minimum is not taken off. */
VELDANE_API int normalizerange(ArrayDesc* data);

/** x / signed sum of the row, which is rounded to float after each term; 0 if the sum is 0. */
VELDANE_API int normalizearea(ArrayDesc* data);

/** x / element `peakColumn` (0-based) of the row: 0 if that is 0, missing if it is missing. 2 for a
 * column that the table does not have. */
VELDANE_API int normalizepeak(ArrayDesc* data, int peakColumn);

/** x / Euclidean length of the row; 0 in a row of zeros. A length below 1.17549435e-38 counts as
 * 1.1920929e-07. Reports nothing. */
VELDANE_API int normalizeunit(ArrayDesc* data);

/**
 * Standard normal variate: (x - mean) / standard deviation of the row, divisor count - 1, with no
 * guard against a deviation of 0. Mean and deviation are float.
 * R. J. Barnes, M. S. Dhanoa and S. J. Lister, Appl. Spectrosc. 43 (1989) 772-777.
 */
VELDANE_API int snv(ArrayDesc* data);

/** x - smallest element of the row. */
VELDANE_API int baselineoffset(ArrayDesc* data);

/** Takes off the line through the elements `first` and `last` (1-based) of the row, which become
 * exactly 0. If they are the same, or one of them is missing, the other elements become NaN. 2 for
 * a column that the table does not have. */
VELDANE_API int linearbaselinecorrection(ArrayDesc* data, int first, int last);

/*
 * Units of spectra. Progress runs along the columns. Within 1e-36 of 0, x counts as 0.
 */

/** Absorbance to reflectance, 10^-x: 1 for 0; 0 above 35, missing below -35. */
VELDANE_API int spectraabstoref(ArrayDesc* data);

/** Reflectance to absorbance, -log10(x): missing for 0, NaN for a negative x. */
VELDANE_API int spectrareftoabs(ArrayDesc* data);

/** Reflectance to Kubelka-Munk units, (1 - x)^2 / (2 x): missing for 0.
 * P. Kubelka and F. Munk, Z. tech. Phys. 12 (1931) 593-601. */
VELDANE_API int spectrareftokm(ArrayDesc* data);

/*
 * Derivatives per channel, and smoothing. Where it is not said otherwise NaN spreads.
 */

/**
 * Gap derivative of Norris: differences of the elements gap + 1 apart, 1 -1; 1 -2 1; 1 -3 3 -1;
 * 1 -4 6 -4 1; 1 -5 10 -10 5 -1 for order 1 to 5, divided by (gap + 1)^order. The first and last
 * order (gap + 1) / 2 channels are 0, and so is a row that is shorter than the differences reach.
 * Codes 3, 4, 5. Reports the rows and the end twice.
 * K. H. Norris and P. C. Williams, Cereal Chem. 61 (1984) 158-165.
 */
VELDANE_API int derivnorrisgap(ArrayDesc* data, int order, int gap);

/**
 * The same between sums of `segment` neighbours, gap elements apart, with any gap from 0 on. The
 * divisor is the filter's response to x^order over order factorial, with powers in float and cut to
 * an integer. With (order + 1) segment + order gap even, a row stands half a channel off, and the
 * element before the zeros at its end is not moved. Codes 3, 4, 6.
 */
VELDANE_API int derivnorrisgapsegment(ArrayDesc* data, int order, int gap, int segment);

/**
 * Savitzky-Golay: the derivative `order` of a polynomial fitted by least squares to the channels
 * -left .. right; from order 5 on the polynomial's coefficient. Channels nearer to an end of the
 * row stay with order 0 and become -0 with any other. 2 for left + right = 0, degree < order and a
 * negative order. A degree above left + right is not determined by the channels and gives noise,
 * one above 63 NaN. Without any channel from -left to right, "Division by zero detected" is
 * reported, and the result is 0.
 * A. Savitzky and M. J. E. Golay, Anal. Chem. 36 (1964) 1627-1639.
 */
VELDANE_API int derivsgolay(ArrayDesc* data, int order, int left, int right, int degree);

/**
 * Savitzky-Golay with other edges: gives the coefficient `order` of the polynomial, which is the
 * derivative over order factorial. The first channels have the part of the sum that lies within the
 * row, the last `right` ones stay. Sums are float. Meant for left = right: with others the weights
 * of the channels right .. 1 are applied to the channels left .. left - right + 1, and those behind
 * the row's end are left out. 2 as for derivsgolay. A negative left or right, or a degree above
 * left + right, writes "Bad args in savgol." to standard output and leaves the data.
 */
VELDANE_API int derivsgolaynew(ArrayDesc* data, int order, int left, int right, int degree);

/** Mean of what is there of `width` channels, fewer at the ends of the row; also in place of a
 * missing value, which stays only if nothing is there. The sum is rounded to float after each term.
 * 6 unless width is odd and above 2. */
VELDANE_API int movingavg(ArrayDesc* data, int width);

/**
 * Median of `width` channels, fewer at the ends of the row; an even width counts as the next
 * smaller one, and of an even number of elements the middle two are averaged. A NaN keeps its place
 * while the elements between two of them are sorted. 6 for a width below 1. Reports nothing.
 */
VELDANE_API int medianfilter(ArrayDesc* data, int width);

/**
 * Weighted mean of `width` channels with weights exp(-k^2 / (2 s^2)), s = 0.2325 (width - 1), which
 * add up to 1; the row goes on with its end elements. A missing element counts as 0, also where it
 * stands itself. A width of 1 gives NaN. An even width, one below 1 and one above m give a 0 x 0
 * result: under VELDANE_KIND_LIBRARY the extents are 0 and data null, otherwise the data stay.
 * Returns 0 in each case. Reports nothing.
 */
VELDANE_API int gaussianfilter(ArrayDesc* data, int width);

/**
 * Takes a polynomial of degree 1 to 4 off each row, fitted by least squares through the inverse of
 * the normal equations, all in float. That costs digits with the degree and the channels: of a row
 * of 400 values around 1 the error is about 1e-4 with degree 1 and 0.1 with degree 2, and the trend
 * is lost above; degree 3 wants 20 channels at most, degree 4 ten. A NaN makes its row NaN. Rows
 * too short for the degree stay where the equations are exactly singular. 2 for any other degree.
 * Reports nothing.
 */
VELDANE_API int detrend(ArrayDesc* data, int degree);

/*
 * C++ parts of the same build also reach the filter behind the gap derivatives:
 * void derivativeFilter(veldane::FMatrix, veldane::FVector, int, int, int, int),
 * symbol _Z16derivativeFilterN7veldane6MatrixIfEENS_6VectorIfEEiiii
 */

/* ---- Statistics --------------------------------------------------------------------------- */
/*
 * Critical values and probabilities, computed and returned in double. An error does not go through
 * the callback: its text is written to the process's standard output as a line, which is flushed,
 * and the function returns what its declaration says.
 *
 * S. L. Moshier, Cephes Math Library; W. J. Cody, Math. Comp. 23 (1969) 631-637 (normal).
 */

/**
 * The critical value of F with m and n degrees of freedom that is exceeded with probability alpha.
 * -1 with "fCDF_upper_inv: (m < 1) or (n < 1) or (y <= 0) or (y > 1)" in these cases, y being
 * alpha, and for NaN; 0 for alpha = 1.
 *
 * Relative error below 1e-10 for 1e-5 <= alpha <= 1 - 1e-5 and up to 15000 degrees of freedom.
 * Farther out the tail is often good to 1e-16 only: at alpha = 1e-12 three digits of the value are
 * left. An alpha within 1e-6 of 1 with n <= 3 and m > 100 gives a value far too small. Above 15000
 * degrees of freedom the continued fraction, which has 300 rounds, ends too early at single
 * points, and the value may then be of any size. "betaLower_reg_inv: PLOSS" and
 * "ibetaLower_reg_inv: UNDERFLOW" tell of a search that did not end well; the value is returned all
 * the same.
 */
VELDANE_API double STAT_FDist(int m, int n, double alpha);

/**
 * The absolute value of Student's t with df degrees of freedom whose lower tail is p: for a
 * two-sided test at level alpha take p = 1 - alpha / 2. 0 for df < 0, without a text; 0 for df = 0,
 * with "betaLower_reg: bb <= 0" 23 times.
 *
 * A coarse bisection, which is wanted: t^2 / (df + t^2) is good to 1.2e-7, so t near 2 is good to
 * 2e-7 for df = 10 and to 2e-4 for df = 10000. p = 0 and p = 1, and what lies beyond, give the end
 * of the bisection, between 2896 and 4096 times sqrt(df). A NaN p counts as 0.5. Above 15000
 * degrees of freedom what is said at STAT_FDist holds.
 */
VELDANE_API double STAT_TDist(int df, double p);

/**
 * The critical value of chi-square with df degrees of freedom that is exceeded with probability p;
 * p is the float as it is, 0.05f is 0.0500000007. 0 for df < 0, without a text. -1 with
 * "chiCDF_upper_inv: (y < 0) or (y > 1) or (df < 1)" in these cases, y being p, and for NaN. p = 0
 * gives 0 with "gammaUpper_reg_inv DOMAIN"; p = 1 a value with a lower tail below 1e-15, with
 * "normalCDF_inv DOMAIN".
 *
 * Relative error below 1e-10 for p <= 1 - 1e-5 and up to 1e6 degrees of freedom; nearer to 1 the
 * lower tail is good to 1e-16 only. "InvGammaC UNDERFLOW" and "gamma(z,x) UNDERFLOW" may be written
 * on the way and do no harm.
 */
VELDANE_API double STAT_Chisquare(int df, float p);

/**
 * Lower tail of the standard normal distribution at x. Relative error below 1e-15 for x >= -4;
 * 2e-11 just beyond, where the form changes, falling to 2e-14 at -5; below 1e-13 down to -37. NaN
 * gives 2.
 */
VELDANE_API double STAT_NormCDF(double x);

/** Normal density at x; 0 unless variance > 0. */
VELDANE_API double STAT_NormPDF(double x, double mean, double variance);

#endif /* VELDANE_H */
