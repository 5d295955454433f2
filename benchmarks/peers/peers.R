# One program that is written in R, on one work: Rscript peers.R FUNCTION PACKAGE FOLDER NAME
#
# A function of this file is given the work and returns the call to be timed and a function that tells the key numbers
# of its result. The lines that go in and out are those of benchmarks/side_by_side.cpp.

shortest <- 0.005  # seconds that a measurement takes at least, by repetition
long <- 0.5  # seconds from which on a call is not made once untimed before it is timed

say <- function(answer) {
  cat(jsonlite::toJSON(answer, auto_unbox = TRUE, digits = NA, null = "null"), "\n", sep = "")
  flush(stdout())
}

path_of <- function(task, role, extension) file.path(task$folder, paste0(task$inputs[[role]], extension))

input <- function(task, role) {
  about <- jsonlite::fromJSON(path_of(task, role, ".json"))
  values <- readBin(path_of(task, role, ".bin"), "numeric", about$rows * about$columns, size = 4, endian = "little")
  x <- matrix(values, about$rows, about$columns, byrow = TRUE)
  if (isTRUE(task$gaps)) x[x == -99] <- NA
  x
}

square <- function(x) sum(x^2)
about_means <- function(x) sum(sweep(x, 2, colMeans(x))^2)

# Principal components, with signs that make the loading of largest magnitude positive.

pcamethods_nipals <- function(task) {
  suppressMessages(library(pcaMethods))
  x <- input(task, "x")
  # This package stops by the change of the score itself: by a share of the t't of the last component.
  threshold <- task$change * length(x) * 0.6^(2 * (task$components - 1))
  list(call = function() pca(x, method = "nipals", nPcs = task$components, center = TRUE, scale = "none",
                             threshold = threshold, maxSteps = 500),
       tell = function(model) {
         p <- sweep(model@loadings, 2, sqrt(colSums(model@loadings^2)), "/")
         peaks <- apply(abs(p), 2, which.max)
         sign <- sign(p[cbind(peaks, seq_along(peaks))])
         result <- list(r2x = diff(c(0, model@R2cum)), largest_loading = apply(abs(p), 2, max),
                        sum_abs_loading = colSums(abs(p)), first_row_scores = model@scores[1, ] * sign)
         if (isTRUE(task$gaps)) names(result) <- paste0(names(result), "_gaps_as_0")
         result
       })
}

# Partial least squares.

pls_fit <- function(method) function(task) {
  x <- input(task, "x")
  y <- input(task, "y")
  totals <- c(about_means(x), about_means(y))
  fit <- getExportedValue("pls", paste0(method, ".fit"))
  list(call = function() fit(x, y, task$components),
       tell = function(model) {
         tt <- colSums(model$scores^2)
         b <- matrix(model$coefficients[, , task$components], ncol(x))
         list(r2x = tt * colSums(unclass(model$loadings)^2) / totals[1],
              r2y = tt * colSums(unclass(model$Yloadings)^2) / totals[2], sum_abs_coefficients = colSums(abs(b)),
              first_coefficients = b[1, ], first_row_abs_scores = abs(model$scores[1, ]))
       })
}
pls_kernelpls <- pls_fit("kernelpls")
pls_oscorespls <- pls_fit("oscorespls")

pls_cv <- function(method) function(task) {
  y <- input(task, "y")
  data <- data.frame(y = drop(y))
  data$x <- input(task, "x")
  group <- (seq_len(nrow(y)) - 1) %% task$groups
  segments <- lapply(seq_len(task$groups) - 1, function(g) which(group == g))
  list(call = function() pls::plsr(y ~ x, ncomp = task$components, data = data, method = method, validation = "CV",
                                   segments = segments),
       tell = function(model) list(press = drop(model$validation$PRESS)))
}
pls_cv_kernelpls <- pls_cv("kernelpls")
pls_cv_simpls <- pls_cv("simpls")

pls_predict <- function(task) {
  data <- list(y = input(task, "y"), x = input(task, "x"))
  model <- pls::plsr(y ~ x, ncomp = task$components, data = data, method = "kernelpls")
  new <- input(task, "new")
  list(call = function() predict(model, newdata = new, ncomp = task$components),
       tell = function(y) {
         y <- matrix(y, nrow(new))
         list(mean = colMeans(y), first_row = y[1, ], last_row = y[nrow(y), ])
       })
}

# Everything else.

stats_hclust <- function(task) {
  x <- input(task, "x")
  method <- if (task$method == "ward") "ward.D2" else task$method
  list(call = function() hclust(dist(x), method),
       tell = function(tree) {
         heights <- sort(tree$height, decreasing = TRUE)
         list(sum_of_heights = sum(heights), half_sum_of_squares = square(heights) / 2, highest = heights[1:5],
              median = heights[length(heights) %/% 2 + 1], lowest = tail(heights, 1))
       })
}

stats_acf <- function(task) {
  x <- drop(input(task, "x"))
  list(call = function() acf(x, lag.max = task$lags, plot = FALSE)$acf, tell = function(r) list(correlations = drop(r)))
}

stats_fisher <- function(task) {
  table <- task$table
  list(call = function() fisher.test(table, workspace = task$workspace)$p.value, tell = function(p) list(p = p))
}

graphics_hist <- function(task) {
  x <- drop(input(task, "x"))
  list(call = function() hist(x, breaks = task$edges, right = FALSE, plot = FALSE),
       tell = function(h) list(counts = h$counts, centres = h$mids))
}

# Means and ranges of subgroups, with three-sigma limits from the factors for subgroups of five.
stats_chart <- function(task) {
  x <- drop(input(task, "x"))
  list(call = function() {
    subgroups <- matrix(x, task$subgroup)
    ranges <- apply(subgroups, 2, max) - apply(subgroups, 2, min)
    target <- mean(colMeans(subgroups))
    spread <- mean(ranges)
    list(means = target + c(0, -1, 1) * task$factors[1] * spread, ranges = c(1, task$factors[2:3]) * spread)
  }, tell = identity)
}

data_table_fread <- function(task) {
  suppressMessages(library(data.table))
  setDTthreads(as.integer(Sys.getenv("OMP_NUM_THREADS")))
  path <- path_of(task, "table", ".csv")
  list(call = function() fread(path, header = FALSE, showProgress = FALSE),
       tell = function(table) {
         x <- as.matrix(table)
         list(size = c(dim(x), sum(is.na(x))), sum_of_column_means = sum(colMeans(x, na.rm = TRUE)),
              last_cells = unname(tail(x[nrow(x), ], 2)))
       })
}

# The lines.

memory <- function(key) {
  if (!file.exists("/proc/self/status")) return(NULL)
  lines <- readLines("/proc/self/status")
  line <- grep(paste0("^", key, ":"), lines, value = TRUE)
  if (length(line) == 0) NULL else 1024 * as.numeric(strsplit(line, "[^0-9]+")[[1]][2])
}

clock <- function() as.numeric(Sys.time())

measure <- function(call, loops) {
  start <- clock()
  for (i in seq_len(loops)) last <- call()
  list(seconds = (clock() - start) / loops, last = last)
}

loops_for <- function(seconds) max(1, ceiling(shortest / max(seconds, 1e-8)))

serve <- function(work, version) {
  force(work)  # R loads the input when it is first needed
  gc()
  loaded <- memory("VmRSS")
  try(writeLines("5", "/proc/self/clear_refs"), silent = TRUE)
  latest <- measure(work$call, 1)
  loops <- 1
  if (latest$seconds < long) loops <- loops_for(measure(work$call, 1)$seconds)
  say(list(ready = TRUE, version = version, loaded = loaded))
  requests <- file("stdin", "r")
  while (length(request <- readLines(requests, 1)) > 0) {
    if (request == "run") {
      if (latest$seconds < long) loops <- loops_for(measure(work$call, loops)$seconds)
      latest <- measure(work$call, loops)
      say(list(seconds = latest$seconds))
    } else {
      peak <- memory("VmHWM")
      say(list(peak = peak, result = lapply(work$tell(latest$last), function(v) I(as.numeric(v)))))
    }
  }
}

main <- function(name, package, folder, work) {
  for (needed in c("jsonlite", package)) {
    if (!suppressWarnings(requireNamespace(needed, quietly = TRUE))) {
      cat('{"absent": "there is no R package ', needed, '"}\n', sep = "")
      return(invisible())
    }
  }
  task <- jsonlite::fromJSON(file.path(folder, paste0(work, ".json")))
  task$folder <- folder
  serve(get(name)(task), as.character(packageVersion(package)))
}

arguments <- commandArgs(TRUE)
main(arguments[1], arguments[2], arguments[3], arguments[4])
