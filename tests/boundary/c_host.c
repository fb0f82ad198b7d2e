/* A host in C against the installed library: computes, cancels, and lets an exception pass. */
#include <math.h>
#include <stdio.h>
#include <string.h>
#include <veldane.h>

static char message[VELDANE_MESSAGE_SIZE];
static int reports;

static void on_progress(float progress, char* text) {
    (void)progress;
    ++reports;
    if (strstr(text, "Computing pc 2")) halt_computation(0);
}

int main(void) {
    float x[] = {1, 2, 3, 4, 7, 1, 0, 3, 5, 2, 9, 4};
    ArrayDesc table = {0, 3, 4, 1, x};
    ArrayDesc scores = {VELDANE_KIND_LIBRARY, 0, 0, 0, NULL};
    float loadings[9];
    ArrayDesc copied = {0, 3, 3, 1, loadings};

    init_callback(message, on_progress);
    if (PCA_Init() != 0) return 1;
    if (PCA_BuildModel(&table, 3, 1, 100, VELDANE_PCA_NIPALS, 0) != 0) return 2;
    if (PCA_GetScores(&scores) != 0 || scores.rows != 4 || scores.cols != 3) return 3;
    if (PCA_GetLoadings(&copied) != 0) return 4;
    float length = 0;
    for (int j = 0; j < 3; ++j) length += loadings[j] * loadings[j];
    if (fabsf(length - 1) > 1e-5f || loadings[6] != 1 || scores.data[2] != 1) return 5;
    PCA_Terminate();
    if (PCA_GetScores(&scores) != -1) return 6;
    printf("%d reports, cancelled in component 2\n", reports);
    return 0;
}
