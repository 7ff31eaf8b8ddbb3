local disks = tonumber(arg[1] or 19)
local peg = {left = {}, middle = {}, right = {}}
for i = 1, disks do peg.left[i] = disks + 1 - i end
local moves = 0

local function carry(disks, source, target, spare)
    if disks == 0 then return end
    carry(disks - 1, source, spare, target)
    local from, to = peg[source], peg[target]
    local disk = from[#from]
    from[#from] = nil
    to[#to + 1] = disk
    moves = moves + 1
    carry(disks - 1, spare, target, source)
end

carry(disks, 'left', 'right', 'middle')
print(moves .. ' ' .. #peg.left .. ' ' .. #peg.middle .. ' ' .. #peg.right .. ' ' .. peg.right[1] .. ' ' .. peg.right[disks])
