-- A text of words and a comma, taken apart a million times.
local s = "alpha beta,gamma delta epsilon"
local n = 0
local a, b, c, d
for i = 1, 1000000 do
  a, b, c, d = string.match(s, "^ *([^ ]+) ?([^,]*), *([^ ]+) ?(.*)$")
  n = n + #d
end
print(a .. " " .. b .. " " .. c .. " " .. d .. " " .. n)
