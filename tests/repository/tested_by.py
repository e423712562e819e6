# Sources that are tested through another's test, each for a reason.
TESTED_BY = {
}
