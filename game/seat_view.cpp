// SPDX-License-Identifier: GPL-3.0-or-later
#include "game/seat_view.h"

namespace kelvane {

SeatView::SeatView(const GameState& table)
    : LocalHand(table.LocalHand),
      LocalCount(table.LocalCount),
      RemoteCount(table.RemoteCount),
      KnownCards(table.KnownCards),
      KnownCount(table.KnownCount),
      StackCount(table.StackCount),
      UpPile(table.UpPile),
      UpCount(table.UpCount),
      TableMelds(table.TableMelds),
      MeldCredit(table.MeldCredit),
      LocalScore(table.LocalScore),
      RemoteScore(table.RemoteScore),
      GamesPlayed(table.GamesPlayed),
      Role(table.Role),
      MyTurn(table.MyTurn),
      HasDrawn(table.HasDrawn),
      RoundInPlay(table.RoundInPlay),
      MustMeldCard(table.MustMeldCard),
      TakenUpCard(table.TakenUpCard),
      LocalFloating(table.LocalFloating),
      RemoteFloating(table.RemoteFloating),
      RemoteMustMeldCard(table.RemoteMustMeldCard),
      RemoteTakenUpCard(table.RemoteTakenUpCard) {}

GameState SeatView::Pictured() const {
    GameState s;
    s.LocalHand = LocalHand;
    s.LocalCount = LocalCount;
    s.RemoteCount = RemoteCount;
    s.KnownCards = KnownCards;
    s.KnownCount = KnownCount;
    s.StackCount = StackCount;
    s.UpPile = UpPile;
    s.UpCount = UpCount;
    s.TableMelds = TableMelds;
    s.MeldCredit = MeldCredit;
    s.LocalScore = LocalScore;
    s.RemoteScore = RemoteScore;
    s.GamesPlayed = GamesPlayed;
    s.Role = Role;
    s.MyTurn = MyTurn;
    s.HasDrawn = HasDrawn;
    s.RoundInPlay = RoundInPlay;
    s.MustMeldCard = MustMeldCard;
    s.TakenUpCard = TakenUpCard;
    s.LocalFloating = LocalFloating;
    s.RemoteFloating = RemoteFloating;
    s.RemoteMustMeldCard = RemoteMustMeldCard;
    s.RemoteTakenUpCard = RemoteTakenUpCard;
    return s;
}

}  // namespace kelvane
