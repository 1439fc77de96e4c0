-- SPDX-License-Identifier: Apache-2.0
-- Turns a page of the manual into what reads well in a terminal.

local function inlines(cell)
  local block = cell.contents[1]
  return block and block.content or {}
end

-- The members of a structure and the values of an enumeration: name, type or value, meaning.
local function describes_names(table)
  local heads = table.head.rows[1]
  if #table.colspecs ~= 3 or not heads then return false end
  local second = pandoc.utils.stringify(heads.cells[2].contents)
  return second == "Type" or second == "Value" or second == ""
end

-- Columns as wide as what is in them asks for. A long text can be broken, and leaves room to the others.
local function wish(length)
  return length <= 20 and length + 3 or 23 + 0.4 * (math.min(length, 80) - 20)
end

local function share_width(table)
  local lengths, sum = {}, 0
  for column = 1, #table.colspecs do
    lengths[column] = 6
    for _, row in ipairs(table.bodies[1].body) do
      local length = utf8.len(pandoc.utils.stringify(row.cells[column].contents))
      lengths[column] = math.max(lengths[column], wish(length))
    end
    sum = sum + lengths[column]
  end
  local specs = {}
  for column, spec in ipairs(table.colspecs) do
    specs[column] = {spec[1], lengths[column] / sum}
  end
  table.colspecs = specs
  return table
end

-- A table of two columns, or of names, is a list of terms; any other stays a table.
function Table(table)
  local named = describes_names(table)
  if #table.colspecs ~= 2 and not named then return share_width(table) end
  local items = {}
  for _, row in ipairs(table.bodies[1].body) do
    local term = inlines(row.cells[1])
    if named then
      term:extend({pandoc.Space(), pandoc.Str("(")})
      for _, part in ipairs(inlines(row.cells[2])) do
        term:insert(part.t == "Strong" and part.content[1] or part)
      end
      term:insert(pandoc.Str(")"))
    end
    local words = row.cells[#row.cells].contents
    if #words == 0 then words = {pandoc.Para({})} end
    items[#items + 1] = {term, {words}}
  end
  return pandoc.DefinitionList(items)
end

-- Links have no target on paper, and pictures none at all.
function Link(link) return link.content end
function Image() return {} end

-- Names that are typed are bold, as in every manual page.
function Code(code) return pandoc.Strong({pandoc.Str(code.text)}) end
