class Kills: pass
