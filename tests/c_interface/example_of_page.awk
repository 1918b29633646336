# The text between ```LANGUAGE and ``` of a page: awk -v language=c -f example_of_page.awk PAGE
$0 == "```" language { inside = 1; next }
$0 == "```" { inside = 0 }
inside
