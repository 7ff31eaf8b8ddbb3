local text = ''
for i = 1, 40000 do
    text = text .. 'abc'
end
print(#text)
