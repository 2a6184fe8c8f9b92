# The floors of the program, lowest first. A folder may include from itself and from the folders listed
# behind its name, and from nothing else. The libraries below and script/check_includes.py both read this list.
set(VLMR_FLOORS
  "platform:"
  "core:platform"
  "transfer:core platform"
  "index:transfer core platform"
  "patterns:index transfer core platform"
  "ftpsources:index transfer core platform"
  "notify:index transfer core platform"
  "app:patterns ftpsources notify index transfer core platform"
)
