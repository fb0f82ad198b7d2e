# Writes pls_reference.csv: PLS coefficients of the octane number on the gasoline spectra by the R
# package pls, in double precision. One row for the intercept and for every 50th wavelength, one
# column for each number of factors. From the project's folder: Rscript tests/data/pls_reference.R
library(pls)
table <- read.csv("examples/data/gasoline.csv")
X <- as.matrix(table[, -1])
y <- as.matrix(table[, 1, drop = FALSE])
fit <- kernelpls.fit(X, y, ncomp = 5)
slopes <- fit$coefficients[, 1, ]
intercepts <- mean(y) - colMeans(X) %*% slopes
values <- rbind(intercepts, slopes[seq(1, 401, by = 50), ])
colnames(values) <- paste(1:5, "factors")
write.csv(format(values, digits = 9), "tests/data/pls_reference.csv", row.names = FALSE,
          quote = FALSE)

# Printed for the test of leave-one-out: the root mean square errors with 0 to 6 factors.
loo <- plsr(y ~ X, ncomp = 6, validation = "LOO")
print(RMSEP(loo)$val["CV", 1, ], digits = 8)
