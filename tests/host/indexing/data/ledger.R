# Copyright nobody. All rights reserved.

#' Rolling mean.
#'
#' Of windows that overlap.
#' @param x numbers
#' @export
rolling_mean <- function(x, n = 3L, ...) {
  window <- function(i) x[i:(i + n)]
  vapply(seq_along(x), function(i) mean(window(i)), 0)
}

# Half of it.
half = function(x) x / 2
MAX_ROWS <- 100L
counter <- 0
print.account <- function(x, ...) {
  cat(x$name)
}
double <- \(x) x * 2
`my op` <- function(a, b) a
"%+%" <- function(a, b) paste0(a, b)

setClass("Circle", representation(r = "numeric"))
#' The area.
setGeneric("area", function(shape, ...) standardGeneric("area"))
setMethod("area", "Circle", function(shape) {
  square <- function(x) x^2
  pi * square(shape@r)
})
setMethod("area", signature(shape = "Square"), function(shape) shape@a^2)

#' One account with its entries.
Account <- R6::R6Class("Account",
  inherit = Base,
  public = list(
    balance = 0,
    #' @description Adds to the balance.
    add = function(amount) {
      self$balance <- self$balance + amount
      invisible(self)
    }
  ),
  private = list(check = function() TRUE),
  active = list(empty = function(value) self$balance == 0)
)
Person <- setRefClass("Person", fields = list(name = "character"),
  methods = list(greet = function() { cat(name) }))

if (getRversion() < "4.0") {
  trimws <- function(x) x
}
test_that("it adds", {
  helper <- function() 1
  expect_equal(helper(), 1)
})
options(error = function() traceback())
