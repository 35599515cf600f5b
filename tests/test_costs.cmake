cmake_policy(PUSH)
cmake_policy(SET CMP0064 NEW)
# Rough run times in seconds of the longest tests, from a Release run on two
# cores; ctest starts the costliest first. A name that is gone is skipped.
set(numbrella_test_costs
    "BasicSwapProgram.PiAtFiftyMillionDigitsGivesTheFilesOfRamOnly" 90
    "ConstantRuns.FilesHoldMpfrsDigitsAndTheFigureCoversThePeak" 50
    "ConstantsProgram.PiAtTwoToTheTwentyThirdDigitsOnTwoThreads" 36
    "StressLoop.EachThreadRunsItsOwnOrderAndNumbersTestsOnThroughTheRounds" 25
    "StressFormulas.BothFormulasOfEachConstantGiveTheSameWordInTheirOwnHeap" 21
    "HybridProducts.BothSidesOfEveryTunedRowMatchGmp" 20
    "DiskProducts.LargeOperandsMatchGmp" 20
    "Bbp.PublishedDigitsAndOverlappingWindowsAtAHundredMillion" 18
    "EstimatePeak.ProductScratchCoversEveryFormWithinAQuarter" 16
    "FftHandOver.FrontEndsAgreeWithGmpEitherSideOfEachHandOver" 15
    "FftProducts.WorstRoundingErrorOfEachRowStaysBelowAQuarter" 13
    "EstimatePeak.ConversionCoversTheWholeRunWithinAQuarter" 12)
list(LENGTH numbrella_test_costs numbrella_cost_items)
math(EXPR numbrella_cost_last "${numbrella_cost_items} - 1")
foreach(index RANGE 0 ${numbrella_cost_last} 2)
  math(EXPR value_index "${index} + 1")
  list(GET numbrella_test_costs ${index} test_name)
  list(GET numbrella_test_costs ${value_index} test_cost)
  if(TEST "${test_name}")
    set_tests_properties("${test_name}" PROPERTIES COST ${test_cost})
  endif()
endforeach()
cmake_policy(POP)
