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

-- A table of two columns, or of names, is a list of terms; any other stays a table.
function Table(table)
  local named = describes_names(table)
  if #table.colspecs ~= 2 and not named then return nil end
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
